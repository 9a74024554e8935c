#include "unit/wan_fixture.h"

namespace {

constexpr const char* kPtmReset = "echo 1 >/proc/tc3162/ptm_do_reset_sequence";

TEST(WanLinkDriverStack, IsLoadedOncePerModeOfTheLine) {
    WanGateway gw;
    wan.WANPriority = 10;  // without fail-over
    const auto lineIs = [&gw](const char* status, bool atm) {
        gw.dslLine(1, status, atm);
        gw.look();
    };
    gw.dslLine(1, "NoSignal");
    gw.tableBuilt();
    lineIs("Up", false);
    EXPECT_EQ(gw.actions().at(0), "killall br2684ctl");
    EXPECT_EQ(wan.lastXtmLinkMode, kLinkDslPtm);
    lineIs("NoSignal", false);
    gw.forget();
    lineIs("Up", false);
    EXPECT_EQ(gw.actions().at(0), kPtmReset);
    lineIs("NoSignal", false);
    gw.forget();
    lineIs("Up", true);
    EXPECT_EQ(gw.actions().at(0), "rmmod mt7510ptm.ko");
    lineIs("NoSignal", true);
    gw.forget();
    lineIs("Up", true);
    EXPECT_EQ(gw.actions(), Commands{"killall vcautohunt"});
}

}  // namespace
