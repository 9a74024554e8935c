// Who carries the WAN when several links are up: each rule of each WANPriority.

#include "link/link_event.h"
#include "support/short_memory.h"
#include "unit/wan_fixture.h"

namespace {

const Commands kDslClose = words::closeDsl();
const Commands kDslOpen = words::openDsl();
const Commands kNoVlanHunter = words::endHunt("vlanautohunt");
const Commands kNoVcHunter = words::endHunt("vcautohunt");
// The other port, where there is none.
const Commands kEnableNone = words::enable({});
const Commands kDisableNone = words::disable({});

class WanLinkFailover : public testing::Test {
  protected:
    void ports(const std::string& copper, const std::string& sfp) {
        gw.ethernetPort(4, "eth0.4", copper);
        gw.ethernetPort(6, "eth0.6", sfp, true);
    }
    void copper(const std::string& status) { gw.set("Ethernet.Interface.4.Status", status); }
    void sfp(const std::string& status) { gw.set("Ethernet.Interface.6.Status", status); }
    WanGateway gw;
};

TEST_F(WanLinkFailover, AutoDetectTakesEthernetWhenNobodyCarriedTheWan) {
    gw.ethernetPort(4, "eth0.4", "Up");
    gw.tableBuilt();
    gw.look();
    EXPECT_EQ(gw.actions(), words::join({kDslClose, kNoVlanHunter}));
    EXPECT_EQ(wan.currWanLinkType, kLinkEthernet);
    EXPECT_TRUE(gw.loggedContaining("Ethernet Wan eth0.4 link up"));
}

TEST_F(WanLinkFailover, AutoDetectShutsDslDownAndEndsTheEventWhenDslCarriedTheWan) {
    gw.ethernetPort(4, "eth0.4", "Up");
    gw.usbPort(1, "Up");
    wan.currWanLinkType = kLinkDslPtm;
    gw.tableBuilt();
    gw.look();
    EXPECT_EQ(gw.actions(), kDslClose);
    EXPECT_EQ(wan.currWanLinkType, kLinkEthernet);
    EXPECT_EQ(statusOf("eth0.4"), 1);
    EXPECT_EQ(statusOf("usb"), 0);
    EXPECT_FALSE(gw.loggedContaining("Ethernet Wan eth0.4 link up"));
}

TEST_F(WanLinkFailover, KeptEthernetClearsTheCarrier) {
    gw.ethernetPort(4, "eth0.4", "Up");
    wan.WANPriority = kEthernetKept;
    wan.currWanLinkType = kLinkDslAtm;
    gw.tableBuilt();
    gw.look();
    EXPECT_EQ(gw.actions(), kNoVlanHunter);
    EXPECT_EQ(wan.currWanLinkType, kLinkNone);
}

TEST_F(WanLinkFailover, DslFirstLeavesTheCarrierToEthernetThatComesUp) {
    gw.ethernetPort(4, "eth0.4", "Up");
    wan.WANPriority = kDslFirst;
    wan.currWanLinkType = kLinkDslAtm;
    gw.tableBuilt();
    gw.look();
    EXPECT_EQ(gw.actions(), kNoVlanHunter);
    EXPECT_EQ(wan.currWanLinkType, kLinkDslAtm);
}

TEST_F(WanLinkFailover, LastEthernetDownFallsBackToDslBeforeTheOtherLinks) {
    gw.dslLine(1, "Up");
    gw.usbPort(1, "Down");
    gw.ethernetPort(4, "eth0.4", "Up");
    gw.settled();
    gw.set("Ethernet.Interface.4.Status", "Down");
    gw.usbPort(1, "Up");
    gw.look();
    EXPECT_EQ(gw.actions(), words::join({kEnableNone, kDslOpen}));
    EXPECT_TRUE(gw.logged("syslog", 6, "updateWanLinkStatus: ethernet link down, activate dsl"));
    EXPECT_EQ(wan.currWanLinkType, kLinkNone);
    EXPECT_EQ(wan.isSfpWanLinkUp, 0);
    EXPECT_EQ(statusOf("usb"), 0);
}

TEST_F(WanLinkFailover, EarlyStopNamesTheEntryAtWhichItStops) {
    gw.usbPort(1, "Down");
    gw.ethernetPort(4, "eth0.4", "Up");
    gw.settled();
    gw.set("Ethernet.Interface.4.Status", "Down");
    gw.look();
    EXPECT_TRUE(gw.logged("syslog", "updateWanLinkStatus: linkInfo iface name: usb"));
}

TEST_F(WanLinkFailover, NothingStopsEarlyWhileAnotherEthernetLinkIsUp) {
    gw.usbPort(1, "Up");
    ports("Up", "Up");
    gw.settled();
    copper("Down");
    gw.look();
    EXPECT_FALSE(gw.loggedContaining("activate dsl"));
}

TEST_F(WanLinkFailover, NothingStopsEarlyWhenEthernetWasDownBefore) {
    gw.usbPort(1, "Down");
    ports("Down", "Down");
    gw.settled();
    gw.look();
    EXPECT_FALSE(gw.loggedContaining("activate dsl"));
}

TEST_F(WanLinkFailover, NothingStopsEarlyInOtherModes) {
    for (const int32_t priority : {kDslFirst, kEthernetKept, 10}) {
        WanGateway other;
        wan.WANPriority = priority;
        other.usbPort(1, "Down");
        other.ethernetPort(4, "eth0.4", "Up");
        other.settled();
        other.set("Ethernet.Interface.4.Status", "Down");
        other.usbPort(1, "Up");
        other.look();
        EXPECT_EQ(statusOf("usb"), 1) << priority;
        EXPECT_FALSE(other.loggedContaining("activate dsl")) << priority;
    }
}

TEST_F(WanLinkFailover, AutoDetectEthernetDownWithoutSfpEnablesTheOtherPortAllTheSame) {
    gw.ethernetPort(4, "eth0.4", "Up");
    gw.settled();
    copper("Down");
    gw.look();
    EXPECT_EQ(gw.actions(), kEnableNone);
    EXPECT_FALSE(gw.loggedContaining("]enable ethwan port"));
}

TEST_F(WanLinkFailover, DslFirstEthernetDownEnablesTheOtherPortOnlyWithoutDsl) {
    wan.WANPriority = kDslFirst;
    gw.ethernetPort(4, "eth0.4", "Up");
    gw.settled();
    wan.isDslLinkUp = 1;
    copper("Down");
    gw.look();
    EXPECT_TRUE(gw.actions().empty());
    copper("Up");
    gw.look();
    gw.forget();
    wan.isDslLinkUp = 0;
    copper("Down");
    gw.look();
    EXPECT_EQ(gw.actions(), kEnableNone);
}

TEST_F(WanLinkFailover, KeptEthernetDownEnablesNothing) {
    wan.WANPriority = kEthernetKept;
    gw.ethernetPort(4, "eth0.4", "Up");
    gw.settled();
    copper("Down");
    gw.look();
    EXPECT_TRUE(gw.actions().empty());
}

class WanLinkSfp : public WanLinkFailover, public testing::WithParamInterface<int32_t> {
  protected:
    // Commands that this mode runs on every Ethernet link-up beside the port choice.
    Commands upActions(const Commands& choice) const {
        return words::join({wan.WANPriority == kAutoDetect ? kDslClose : Commands{}, choice, kNoVlanHunter});
    }
    void start(int32_t sfpWins) {
        wan.WANPriority = GetParam();
        wan.EthWANPriority = sfpWins;
        ports("Down", "Down");
        gw.settled();
    }
};

TEST_P(WanLinkSfp, ComesUpAndWins) {
    start(1);
    sfp("Up");
    gw.look();
    EXPECT_EQ(gw.actions(), upActions(words::disable({"eth0.4"})));
    EXPECT_TRUE(gw.printedAtLine("[updateWanLinkStatus][", "]disable ethwan port"));
    EXPECT_EQ(wan.isSfpWanLinkUp, 1);
}

TEST_P(WanLinkSfp, ComesUpAndDoesNotWin) {
    start(0);
    sfp("Up");
    gw.look();
    EXPECT_EQ(gw.actions(), upActions({}));
    EXPECT_EQ(wan.isSfpWanLinkUp, 1);
}

TEST_P(WanLinkSfp, CopperComesUpAndWins) {
    start(0);
    copper("Up");
    gw.look();
    EXPECT_EQ(gw.actions(), upActions(words::disable({"eth0.6"})));
    EXPECT_TRUE(gw.printedAtLine("[updateWanLinkStatus][", "]disable SFP port"));
    EXPECT_EQ(wan.isSfpWanLinkUp, 0);
}

TEST_P(WanLinkSfp, CopperComesUpAndDoesNotWin) {
    start(1);
    copper("Up");
    gw.look();
    EXPECT_EQ(gw.actions(), upActions({}));
}

TEST_P(WanLinkSfp, WinnerGoesDown) {
    start(1);
    sfp("Up");
    gw.look();
    gw.forget();
    sfp("Down");
    gw.look();
    EXPECT_EQ(gw.actions(), GetParam() == kEthernetKept ? Commands{} : words::enable({"eth0.4"}));
    EXPECT_EQ(gw.printedAtLine("[updateWanLinkStatus][", "]enable ethwan port"), GetParam() != kEthernetKept);
    EXPECT_EQ(wan.isSfpWanLinkUp, 0);
}

TEST_P(WanLinkSfp, CopperAsWinnerGoesDownWithoutALine) {
    start(0);
    copper("Up");
    gw.look();
    gw.forget();
    copper("Down");
    gw.look();
    EXPECT_EQ(gw.actions(), GetParam() == kEthernetKept ? Commands{} : words::enable({"eth0.6"}));
    EXPECT_FALSE(gw.loggedContaining("]enable ethwan port"));
}

TEST_P(WanLinkSfp, LoserGoesDown) {
    start(1);
    copper("Up");
    gw.look();
    gw.forget();
    copper("Down");
    gw.look();
    EXPECT_TRUE(gw.actions().empty());
}
INSTANTIATE_TEST_SUITE_P(InEveryMode, WanLinkSfp, testing::Values(kDslFirst, kAutoDetect, kEthernetKept));

// --- DSL's side of the rules ---

class WanLinkDslRule : public testing::Test {
  protected:
    void lineGoesUp(int32_t priority) {
        wan.WANPriority = priority;
        wan.lastXtmLinkMode = kLinkDslAtm;  // no driver stack is loaded in these tests
        gw.dslLine(1, "Up", true);
        gw.tableBuilt();
        gw.look();
    }
    void lineGoesDown(int32_t priority, int32_t carrier) {
        lineGoesUp(priority);
        wan.currWanLinkType = carrier;
        gw.forget();
        gw.dslLine(1, "NoSignal", true);
        gw.look();
    }
    WanGateway gw;
};

TEST_F(WanLinkDslRule, AutoDetectMakesTheLineTheCarrier) {
    lineGoesUp(kAutoDetect);
    EXPECT_EQ(wan.currWanLinkType, kLinkDslAtm);
    EXPECT_EQ(gw.actions(), kNoVcHunter);
}

TEST_F(WanLinkDslRule, DslFirstDisablesTheEthernetWan) {
    lineGoesUp(kDslFirst);
    EXPECT_EQ(gw.actions(), words::join({kDisableNone, kNoVcHunter}));
    EXPECT_TRUE(gw.printedAtLine("[updateWanLinkStatus][", "] DSL is up, disable other wan type "));
    EXPECT_EQ(wan.currWanLinkType, kLinkNone);
}

TEST_F(WanLinkDslRule, KeptEthernetLeavesEverythingAsItIs) {
    lineGoesUp(kEthernetKept);
    EXPECT_EQ(gw.actions(), kNoVcHunter);
    EXPECT_EQ(wan.currWanLinkType, kLinkNone);
}

TEST_F(WanLinkDslRule, AutoDetectDownClearsTheCarrierThatWasThisMode) {
    lineGoesDown(kAutoDetect, kLinkDslAtm);
    EXPECT_EQ(wan.currWanLinkType, kLinkNone);
    EXPECT_TRUE(gw.requests().empty());
}

TEST_F(WanLinkDslRule, AutoDetectDownKeepsACarrierOfTheOtherMode) {
    lineGoesDown(kAutoDetect, kLinkDslPtm);
    EXPECT_EQ(wan.currWanLinkType, kLinkDslPtm);
}

TEST_F(WanLinkDslRule, AutoDetectDownWithEthernetAsCarrierSetsTheLinksUpAnew) {
    lineGoesDown(kAutoDetect, kLinkEthernet);
    ASSERT_EQ(gw.requests().size(), 1u);
    EXPECT_EQ(gw.requests()[0].type, 0x80000113u);
    EXPECT_EQ(gw.requests()[0].dstEid, VCFG_EID_TARN);
    EXPECT_EQ(gw.requests()[0].length, 0);
    EXPECT_EQ(gw.requests()[0].patienceMs, 3000u);  // its own queue may be full
    EXPECT_TRUE(
        gw.logged("syslog", 6, "WANAutoDetectEthStart: dsl link down, and ethnet link is going to be activated !!!"));
    EXPECT_EQ(wan.currWanLinkType, kLinkEthernet);
}

TEST_F(WanLinkDslRule, LinksThatCannotBeSetUpAnewEndTheEvent) {
    wan.lastXtmLinkMode = kLinkDslAtm;
    gw.dslLine(1, "NoSignal", true);
    gw.dslLine(2, "Up", true);
    gw.tableBuilt();
    gw.look();
    gw.forget();
    wan.currWanLinkType = kLinkEthernet;
    gw.endpointAnswers(VCFG_EID_TARN, VCFG_ERR_TIMEOUT);
    gw.dslLine(1, "Up", true);
    gw.dslLine(2, "NoSignal", true);
    gw.look();
    EXPECT_TRUE(gw.logged("vlog", 3, "fail to send VCFG_MSG_INIT_WAN_LINK_INFO to TARN with ret = -62"));
    EXPECT_EQ(gw.count("updateWanLinkStatus: XTM Link link up LinkTypeisATM:1"), 0);
}

TEST_F(WanLinkDslRule, LinksAreNotSetUpAnewWhenMemoryIsShort) {
    short_memory::leaveCallocs(0);
    const int32_t result = WANAutoDetectEthStart();
    short_memory::leaveCallocs(-1);
    EXPECT_EQ(result, -1);
    EXPECT_TRUE(gw.logged("vlog", 3, "fail to calloc memory, size = 56"));
    EXPECT_TRUE(gw.logged("vlog", 3, "memory insuffcient"));
    EXPECT_TRUE(gw.requests().empty());
}

TEST_F(WanLinkDslRule, DslFirstDownEnablesTheEthernetWan) {
    lineGoesDown(kDslFirst, kLinkNone);
    EXPECT_EQ(gw.actions(), kEnableNone);
}

TEST_F(WanLinkDslRule, KeptEthernetDownDoesNothingMore) {
    lineGoesDown(kEthernetKept, kLinkEthernet);
    EXPECT_TRUE(gw.actions().empty());
    EXPECT_TRUE(gw.requests().empty());
    EXPECT_EQ(wan.currWanLinkType, kLinkEthernet);
}

// When the LED is computed among the commands of an event.
class WanLinkLedPlace : public WanLinkFailover {
  protected:
    void expectOrder(const Commands& commands) {
        long last = -1;
        for (const std::string& command : commands) {
            EXPECT_GT(gw.placeOf(command), last) << command;
            last = gw.placeOf(command);
        }
    }
};

TEST_F(WanLinkLedPlace, IsFirstWhenEthernetComesUp) {
    gw.ethernetPort(4, "eth0.4", "Down");
    gw.settled();
    copper("Up");
    gw.look();
    expectOrder(words::join({kRouteCommands, kDslClose, kNoVlanHunter}));
}

TEST_F(WanLinkLedPlace, FollowsTheOtherPortsTurnWhenEthernetGoesDown) {
    gw.ethernetPort(4, "eth0.4", "Up");
    gw.settled();
    copper("Down");
    gw.look();
    expectOrder(words::join({kEnableNone, kRouteCommands}));
}

TEST_F(WanLinkLedPlace, FollowsTheDriversAndPrecedesTheHuntWhenDslComesUp) {
    wan.WANPriority = kDslFirst;
    gw.dslLine(1, "NoSignal", true);
    gw.settled();
    wan.lastXtmLinkMode = kLinkDslAtm;
    gw.dslLine(1, "Up", true);
    gw.look();
    expectOrder(words::join({kDisableNone, kRouteCommands, kNoVcHunter}));
}

TEST_F(WanLinkLedPlace, FollowsThePtmResetAndPrecedesTheOtherWanWhenDslGoesDown) {
    wan.WANPriority = kDslFirst;
    gw.set("IP.Interface.1.X_VORAN_IfName", "ptm0.1");
    gw.dslLine(1, "Up");
    gw.settled();
    gw.dslLine(1, "NoSignal");
    gw.look();
    expectOrder(words::join({words::endPtm(), words::removePtmRule("ptm0", 0), kRouteCommands, kEnableNone}));
}

}  // namespace
