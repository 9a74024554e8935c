#include "platform/wrapper.h"

#include "platform/dsl.h"

#include "unit/wan_fixture.h"

namespace {

constexpr uint32_t kAtm = 0;
constexpr uint32_t kPtm = 1;
constexpr uint32_t kNeverUp = 10;

TEST(XtmUp, PtmAfterPtmOnlyRunsTheResetSequence) {
    WanGateway gw;
    handleXtmUpInit(kPtm, kPtm);
    EXPECT_EQ(gw.commands(), Commands{"echo 1 >/proc/tc3162/ptm_do_reset_sequence"});
}

class XtmUpToPtm : public testing::TestWithParam<uint32_t> {};

TEST_P(XtmUpToPtm, SwitchesTheStackInOrder) {
    WanGateway gw;
    handleXtmUpInit(kPtm, GetParam());
    EXPECT_EQ(
        gw.commands(),
        (Commands{"killall br2684ctl", "rmmod mt7510sar.ko", "rmmod qdma_wan.ko", "echo 1 > /proc/sys/vm/drop_caches",
                  "insmod /lib/modules/4.4.115/qdma_wan.ko macType=2", "insmod /lib/modules/4.4.115/mt7510ptm.ko"}));
}
INSTANTIATE_TEST_SUITE_P(FromAnythingElse, XtmUpToPtm, testing::Values(kAtm, kNeverUp));

class XtmUpToAtm : public testing::TestWithParam<uint32_t> {};

TEST_P(XtmUpToAtm, SwitchesTheStackInOrder) {
    WanGateway gw;
    handleXtmUpInit(kAtm, GetParam());
    EXPECT_EQ(gw.commands(), (Commands{"rmmod mt7510ptm.ko", "rmmod qdma_wan.ko", "echo 1 > /proc/sys/vm/drop_caches",
                                       "insmod /lib/modules/4.4.115/qdma_wan.ko macType=3", "rmmod mt7510sar.ko",
                                       "insmod /lib/modules/4.4.115/mt7510sar.ko"}));
}
INSTANTIATE_TEST_SUITE_P(FromAnythingElse, XtmUpToAtm, testing::Values(kPtm, kNeverUp));

TEST(XtmUp, AtmAfterAtmRunsNothing) {
    WanGateway gw;
    handleXtmUpInit(kAtm, kAtm);
    EXPECT_TRUE(gw.commands().empty());
}

TEST(XtmUp, AnyOtherTypeRunsNothing) {
    WanGateway gw;
    handleXtmUpInit(2, kAtm);
    handleXtmUpInit(kNeverUp, kPtm);
    EXPECT_TRUE(gw.commands().empty());
}

TEST(XtmUp, AFailingCommandDoesNotEndTheSequence) {
    WanGateway gw;
    gw.commandResult("killall br2684ctl", 256);
    gw.commandResult("rmmod qdma_wan.ko", -1);
    handleXtmUpInit(kPtm, kAtm);
    EXPECT_EQ(gw.commands().size(), 6u);
}

TEST(DslRestart, ClosesAndOpensWithoutPause) {
    WanGateway gw;
    restartDslConnection();
    EXPECT_EQ(gw.commands(), (Commands{"/usr/bin/wan adsl close", "/usr/bin/wan adsl open"}));
    EXPECT_TRUE(gw.sleeps().empty());
}

TEST(PlatformLed, OffSwitchesBothColoursOff) {
    WanGateway gw;
    tarnWanCtlInternetLED(1, 0);
    EXPECT_EQ(gw.commands(),
              (Commands{"echo 0 > /proc/tc3162/led_internet_red\n", "echo 0 0 > /proc/tc3162/led_internet\n"}));
}

TEST(PlatformLed, GreenSwitchesRedOffFirst) {
    WanGateway gw;
    tarnWanCtlInternetLED(1, 1);
    EXPECT_EQ(gw.commands(),
              (Commands{"echo 0 > /proc/tc3162/led_internet_red\n", "echo 2 0 > /proc/tc3162/led_internet\n"}));
}

TEST(PlatformLed, RedSwitchesGreenOffFirst) {
    WanGateway gw;
    tarnWanCtlInternetLED(1, 2);
    EXPECT_EQ(gw.commands(),
              (Commands{"echo 0 0 > /proc/tc3162/led_internet\n", "echo 2 > /proc/tc3162/led_internet_red\n"}));
}

TEST(PlatformLed, AnyOtherStateDoesNothing) {
    WanGateway gw;
    tarnWanCtlInternetLED(1, 3);
    EXPECT_TRUE(gw.commands().empty());
}

TEST(PlatformLed, ControlOtherThanOneDoesNothing) {
    WanGateway gw;
    for (const uint32_t control : {0u, 2u}) {
        for (const uint32_t state : {0u, 1u, 2u}) {
            tarnWanCtlInternetLED(control, state);
        }
    }
    EXPECT_TRUE(gw.commands().empty());
}

TEST(PlatformHooks, HaveNothingToDoOnThisChip) {
    WanGateway gw;
    voEnableWifiLED();
    tarnSupportCAT3Cable();
    EXPECT_EQ(tarnLanPhyReset(), 0u);
    EXPECT_TRUE(gw.commands().empty());
}

TEST(PlatformCommand, ThatHangsIsNamedInTheLogWithItsDuration) {
    WanGateway gw;
    gw.commandTakes("/usr/bin/wan adsl open", 2000);
    gw.commandTakes("/usr/bin/wan adsl close", 1999);
    restartDslConnection();
    EXPECT_TRUE(gw.logged("vlog", 4, "command \"/usr/bin/wan adsl open\" took 2000 ms"));
    EXPECT_FALSE(gw.loggedContaining("close\" took"));
}

}  // namespace
