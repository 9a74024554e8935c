#include "link/auto_hunt.h"

#include "support/short_memory.h"
#include "unit/wan_fixture.h"

namespace {

constexpr uint8_t kUp = 1;
constexpr uint8_t kDown = 0;

class AutoHuntTest : public testing::Test {
  protected:
    void enableVcHunt() { gw.set("X_VORAN_VcAutoHunt.Enable", "true"); }
    void enableVlanHunt() {
        gw.set("X_VORAN_VlanAutoHunt.Enable", "true");
        gw.add("IP.Interface.3");
        gw.set("X_VORAN_VlanAutoHunt.Interface.1.Interface", "IP.Interface.3");
    }
    // "type to endpoint" of each message.
    Commands sent() const {
        Commands messages;
        for (const SentMessage& message : gw.requests()) {
            char text[32];
            snprintf(text, sizeof text, "%X to %u", message.type, unsigned{message.dstEid});
            messages.push_back(text);
        }
        return messages;
    }
    int traces() const {
        int lines = 0;
        for (const LogLine& line : gw.log()) {
            lines += line.channel == "stdout" && line.text.rfind("AutoHuntProcess():", 0) == 0 ? 1 : 0;
        }
        return lines;
    }
    WanGateway gw;
};

class AutoHuntVc : public AutoHuntTest {};
class AutoHuntVlan : public AutoHuntTest, public testing::WithParamInterface<int32_t> {};
class AutoHuntTrace : public AutoHuntTest {};
class AutoHuntMemory : public AutoHuntTest {};
class AutoHuntMatch : public AutoHuntTest {};

TEST_F(AutoHuntVc, UpStartsTheHuntAndPends) {
    enableVcHunt();
    EXPECT_EQ(AutoHuntProcess(kLinkDslAtm, kUp), 2);
    EXPECT_EQ(sent(), Commands{"800000E5 to 28"});
    EXPECT_EQ(wan.isVcAutoHuntRunnig, 1);
    EXPECT_TRUE(gw.logged("stdout", "isVcAutoHuntEnable: vcautohunt is running !!"));
    EXPECT_TRUE(gw.logged("syslog", 6, "AutoHuntProcess: vcautohunt is going to processing !! tarn pending !!"));
}

TEST_F(AutoHuntVc, StartMessageIsAnEnvelopeFromTheDaemon) {
    enableVcHunt();
    AutoHuntProcess(kLinkDslAtm, kUp);
    ASSERT_EQ(gw.requests().size(), 1u);
    EXPECT_EQ(gw.requests()[0].length, 0);
}

TEST_F(AutoHuntVc, UpWhileAHuntRunsPendsWithoutSending) {
    enableVcHunt();
    wan.isVcAutoHuntRunnig = 1;
    EXPECT_EQ(AutoHuntProcess(kLinkDslAtm, kUp), 2);
    EXPECT_TRUE(sent().empty());
}

TEST_F(AutoHuntVc, UpWithHuntDisabledKillsAStrayHunterAndGoesOn) {
    EXPECT_EQ(AutoHuntProcess(kLinkDslAtm, kUp), 0);
    EXPECT_EQ(gw.commands(), words::endHunt("vcautohunt"));
    EXPECT_TRUE(sent().empty());
}

TEST_F(AutoHuntVc, UpAfterAFinishedHuntGoesOnAndKillsNothing) {
    enableVcHunt();
    wan.isAutoHuntFinished = 1;
    EXPECT_EQ(AutoHuntProcess(kLinkDslAtm, kUp), 0);
    EXPECT_TRUE(sent().empty());
    EXPECT_TRUE(gw.commands().empty());
}

TEST_F(AutoHuntVc, StartThatIsRefusedGoesOn) {
    enableVcHunt();
    for (const int code : {0, VCFG_ERR_NO_PEER + 0, VCFG_ERR_TIMEOUT + 0}) {
        gw.forget();
        gw.endpointAnswers(VCFG_EID_VCAUTOHUNT, code);
        EXPECT_EQ(AutoHuntProcess(kLinkDslAtm, kUp), 0);
        EXPECT_EQ(wan.isVcAutoHuntRunnig, 0);
        EXPECT_TRUE(gw.logged(
            "syslog", 3, "isVcAutoHuntEnable: fail to send message to VCAUTOHUNT with ret=" + std::to_string(code)));
    }
}

TEST_F(AutoHuntVc, UnreadableObjectGoesOn) {
    enableVcHunt();
    gw.refuseWrite(inproc::Operation::Get, "X_VORAN_VcAutoHunt");
    EXPECT_EQ(AutoHuntProcess(kLinkDslAtm, kUp), 0);
    EXPECT_TRUE(gw.logged("syslog", 3, "isVcAutoHuntEnable: fail to get autoHuntObj with ret=-5"));
    EXPECT_TRUE(gw.commands().empty());
}

TEST_F(AutoHuntVc, DownWithoutHuntSendsNothing) {
    enableVcHunt();
    EXPECT_EQ(AutoHuntProcess(kLinkDslAtm, kDown), 0);
    EXPECT_TRUE(sent().empty());
}

TEST_F(AutoHuntVc, DownStopsARunningHunt) {
    wan.isVcAutoHuntRunnig = 1;
    EXPECT_EQ(AutoHuntProcess(kLinkDslAtm, kDown), 0);
    EXPECT_EQ(sent(), Commands{"800000E6 to 28"});
    EXPECT_EQ(wan.isVcAutoHuntRunnig, 0);
    EXPECT_TRUE(gw.logged("syslog", 6, "AutoHuntProcess: stop vcautohunt !!!"));
}

TEST_F(AutoHuntVc, StopThatCannotBeDeliveredEndsTheEvent) {
    wan.isVcAutoHuntRunnig = 1;
    gw.endpointAnswers(VCFG_EID_VCAUTOHUNT, VCFG_ERR_NO_PEER);
    EXPECT_EQ(AutoHuntProcess(kLinkDslAtm, kDown), 1);
    EXPECT_EQ(wan.isVcAutoHuntRunnig, 1);
    EXPECT_TRUE(gw.logged("syslog", 3, "AutoHuntProcess: fail to send message to VCAUTOHUNT with ret=-111"));
}

TEST_P(AutoHuntVlan, UpStartsTheHuntAndPends) {
    enableVlanHunt();
    EXPECT_EQ(AutoHuntProcess(GetParam(), kUp), 2);
    EXPECT_EQ(sent(), Commands{"800000EC to 37"});
    EXPECT_EQ(wan.isVlanAutoHuntRunnig, 1);
    EXPECT_EQ(wan.isVcAutoHuntRunnig, 0);
    EXPECT_TRUE(gw.logged("stdout", "isVlanAutoHuntEnable: vlanautohunt is running !!"));
    EXPECT_TRUE(gw.logged("syslog", 6, "AutoHuntProcess: vlanAutohunt is going to processing !! tarn pending !!"));
}

TEST_P(AutoHuntVlan, UpWhileAHuntRunsPendsWithoutSending) {
    wan.isVlanAutoHuntRunnig = 1;
    EXPECT_EQ(AutoHuntProcess(GetParam(), kUp), 2);
    EXPECT_TRUE(sent().empty());
    EXPECT_TRUE(gw.commands().empty());
}

TEST_P(AutoHuntVlan, UpWithHuntDisabledKillsAStrayHunterAndGoesOn) {
    EXPECT_EQ(AutoHuntProcess(GetParam(), kUp), 0);
    EXPECT_EQ(gw.commands(), words::endHunt("vlanautohunt"));
}

TEST_P(AutoHuntVlan, UpAfterAFinishedHuntGoesOnWithoutAWord) {
    enableVlanHunt();
    wan.isAutoHuntFinished = 1;
    EXPECT_EQ(AutoHuntProcess(GetParam(), kUp), 0);
    EXPECT_TRUE(sent().empty());
    EXPECT_FALSE(gw.loggedContaining("no match ipiface config"));
}

TEST_P(AutoHuntVlan, UpWithoutExistingInterfaceNeverHunts) {
    gw.set("X_VORAN_VlanAutoHunt.Enable", "true");
    gw.set("X_VORAN_VlanAutoHunt.Interface.1.Interface", "IP.Interface.9");
    EXPECT_EQ(AutoHuntProcess(GetParam(), kUp), 0);
    EXPECT_TRUE(sent().empty());
    EXPECT_TRUE(gw.printedAtLine("isVlanAutoHuntEnable(", ") no match ipiface config"));
    EXPECT_TRUE(gw.commands().empty());
}

TEST_P(AutoHuntVlan, StartThatIsRefusedGoesOn) {
    enableVlanHunt();
    gw.endpointAnswers(VCFG_EID_VLANAUTOHUNT, VCFG_ERR_NO_PEER);
    EXPECT_EQ(AutoHuntProcess(GetParam(), kUp), 0);
    EXPECT_TRUE(gw.logged("syslog", 3, "isVlanAutoHuntEnable: fail to send message to VLANAUTOHUNT with ret=-111"));
}

TEST_P(AutoHuntVlan, UnreadableObjectGoesOn) {
    gw.refuseWrite(inproc::Operation::Get, "X_VORAN_VlanAutoHunt");
    EXPECT_EQ(AutoHuntProcess(GetParam(), kUp), 0);
    EXPECT_TRUE(gw.logged("syslog", 3, "isVlanAutoHuntEnable: fail to get autoHuntObj with ret=-5"));
}

TEST_P(AutoHuntVlan, DownStopsARunningHunt) {
    enableVlanHunt();
    wan.isVlanAutoHuntRunnig = 1;
    EXPECT_EQ(AutoHuntProcess(GetParam(), kDown), 0);
    EXPECT_EQ(sent(), Commands{"800000ED to 37"});
    EXPECT_EQ(wan.isVlanAutoHuntRunnig, 0);
    EXPECT_TRUE(gw.logged("syslog", 6, "AutoHuntProcess: stop vlanautohunt !!!"));
}

TEST_P(AutoHuntVlan, DownWithTheFlagClearedMeanwhileLeavesTheHuntRunning) {
    wan.isVlanAutoHuntRunnig = 1;
    EXPECT_EQ(AutoHuntProcess(GetParam(), kDown), 0);
    EXPECT_TRUE(sent().empty());
    EXPECT_EQ(wan.isVlanAutoHuntRunnig, 1);
}

TEST_P(AutoHuntVlan, DownWithUnreadableObjectGoesOnSilently) {
    wan.isVlanAutoHuntRunnig = 1;
    gw.refuseWrite(inproc::Operation::Get, "X_VORAN_VlanAutoHunt");
    EXPECT_EQ(AutoHuntProcess(GetParam(), kDown), 0);
    EXPECT_TRUE(sent().empty());
    EXPECT_FALSE(gw.loggedContaining("fail"));
}

TEST_P(AutoHuntVlan, StopThatCannotBeDeliveredEndsTheEvent) {
    enableVlanHunt();
    wan.isVlanAutoHuntRunnig = 1;
    gw.endpointAnswers(VCFG_EID_VLANAUTOHUNT, 0);
    EXPECT_EQ(AutoHuntProcess(GetParam(), kDown), 1);
    EXPECT_EQ(wan.isVlanAutoHuntRunnig, 1);
    EXPECT_TRUE(gw.logged("syslog", 3, "AutoHuntProcess: fail to send message to VLANAUTOHUNT with ret=0"));
}
INSTANTIATE_TEST_SUITE_P(PtmAndEthernet, AutoHuntVlan, testing::Values(kLinkDslPtm, kLinkEthernet));

TEST_F(AutoHuntMemory, ShortageKeepsAHuntFromBeingStopped) {
    gw.set("X_VORAN_VlanAutoHunt.Enable", "true");
    wan.isVcAutoHuntRunnig = 1;
    wan.isVlanAutoHuntRunnig = 1;
    short_memory::leaveCallocs(0);
    const int32_t vc = AutoHuntProcess(kLinkDslAtm, kDown);
    const int32_t vlan = AutoHuntProcess(kLinkEthernet, kDown);
    short_memory::leaveCallocs(-1);
    EXPECT_EQ(vc, 1);
    EXPECT_EQ(vlan, 1);
    EXPECT_EQ(gw.count("fail to calloc memory, size = 56"), 2);
    EXPECT_EQ(gw.count("memory insuffcient"), 2);
    EXPECT_FALSE(gw.loggedContaining("fail to send message"));
}

TEST_F(AutoHuntMemory, ShortageStartsNoHunt) {
    enableVcHunt();
    enableVlanHunt();
    short_memory::leaveCallocs(0);
    const uint8_t vc = isVcAutoHuntEnable();
    const uint8_t vlan = isVlanAutoHuntEnable();
    short_memory::leaveCallocs(-1);
    EXPECT_EQ(vc, 0);
    EXPECT_EQ(vlan, 0);
    EXPECT_TRUE(sent().empty());
    EXPECT_TRUE(gw.logged("vlog", 3, "memory insuffcient"));
}

TEST_F(AutoHuntTrace, IsWrittenOnEntryAndBeforeGoingOn) {
    EXPECT_EQ(AutoHuntProcess(kLinkOptical, kUp), 0);
    EXPECT_EQ(traces(), 2);
    EXPECT_TRUE(gw.commands().empty());
}

TEST_F(AutoHuntTrace, IsWrittenOnEntryOnlyWhenAHuntTakesOver) {
    wan.isVcAutoHuntRunnig = 1;
    EXPECT_EQ(AutoHuntProcess(kLinkDslAtm, kUp), 2);
    EXPECT_EQ(traces(), 1);
}

TEST_F(AutoHuntMatch, WalksToTheEndOfTheList) {
    gw.add("IP.Interface.1");
    gw.set("X_VORAN_VlanAutoHunt.Interface.1.Interface", "IP.Interface.1");
    gw.set("X_VORAN_VlanAutoHunt.Interface.2.Interface", "IP.Interface.2");
    EXPECT_EQ(isVlanHuntInterfaceMatch(), 1);
    EXPECT_TRUE(gw.printedAtLine("isVlanHuntInterfaceMatch(", ") RDM IP Interface get Fail, IP.Interface.2"));
}

TEST_F(AutoHuntMatch, TextThatIsNoPathMatchesNothing) {
    gw.set("X_VORAN_VlanAutoHunt.Interface.1.Interface", "PPP.Interface.1");
    gw.set("X_VORAN_VlanAutoHunt.Interface.2.Interface", "IP.Interface.256");
    EXPECT_EQ(isVlanHuntInterfaceMatch(), 0);
    EXPECT_TRUE(gw.printedAtLine("isVlanHuntInterfaceMatch(", ") RDM IP Interface get Fail, PPP.Interface.1"));
}

TEST_F(AutoHuntMatch, PathIsCutToFortySevenCharacters) {
    gw.set("X_VORAN_VlanAutoHunt.Interface.1.Interface", std::string(60, 'x'));
    EXPECT_EQ(isVlanHuntInterfaceMatch(), 0);
    EXPECT_TRUE(gw.printedAtLine("isVlanHuntInterfaceMatch(", ") RDM IP Interface get Fail, " + std::string(47, 'x')));
}

TEST_F(AutoHuntMatch, EmptyListMatchesNothing) {
    EXPECT_EQ(isVlanHuntInterfaceMatch(), 0);
}

}  // namespace
