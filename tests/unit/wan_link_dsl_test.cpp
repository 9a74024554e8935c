#include "link/link_event.h"
#include "unit/wan_fixture.h"

namespace {

constexpr int32_t kNoRule = 10;  // a WANPriority without fail-over

class WanLinkDslTest : public testing::Test {
  protected:
    WanLinkDslTest() { wan.WANPriority = kNoRule; }
    void channel(unsigned n, const std::string& lines, const std::string& encapsulation, unsigned down, unsigned up) {
        const std::string path = "DSL.Channel." + std::to_string(n) + ".";
        gw.set(path + "LowerLayers", lines);
        gw.set(path + "LinkEncapsulationUsed", encapsulation);
        gw.set(path + "DownstreamCurrRate", std::to_string(down));
        gw.set(path + "UpstreamCurrRate", std::to_string(up));
    }
    void lineIs(const std::string& status, bool atm) {
        gw.dslLine(1, status, atm);
        gw.look();
    }
    WanGateway gw;
};

class WanLinkDslLine : public WanLinkDslTest {};
class WanLinkDslRate : public WanLinkDslTest {};
class WanLinkDslVlan : public WanLinkDslTest {};

TEST_F(WanLinkDslLine, UpIsRecordedAndShown) {
    gw.dslLine(1, "NoSignal");
    gw.tableBuilt();
    lineIs("Up", true);
    EXPECT_EQ(statusOf(""), 1);
    EXPECT_EQ(wan.isDslLinkUp, 1);
    EXPECT_EQ(wan.wanLinkDown, 0);
    EXPECT_EQ(wan.lastXtmLinkMode, kLinkDslAtm);
    EXPECT_TRUE(gw.logged("syslog", 6, "updateWanLinkStatus: XTM Link link up LinkTypeisATM:1"));
    EXPECT_TRUE(gw.logged("syslog", 6, "xDSL: link up, Connection Type: ATM, Speed: RX:0 / TX:0 (Kbps)"));
}

TEST_F(WanLinkDslLine, DownIsRecordedAndShown) {
    gw.dslLine(1, "Up", true);
    gw.settled();
    lineIs("Initializing", true);
    EXPECT_EQ(statusOf(""), 0);
    EXPECT_EQ(wan.isDslLinkUp, 0);
    EXPECT_EQ(wan.wanLinkDown, 1);
    EXPECT_TRUE(gw.logged("syslog", 6, "updateWanLinkStatus: XTM Link link down LinkTypeisATM:1"));
    EXPECT_TRUE(gw.logged("syslog", 6, "xDSL: XTM link down."));
}

TEST_F(WanLinkDslLine, DownWhileEthernetCameUpInTheSameEventKeepsTheWanUp) {
    gw.dslLine(1, "Up", true);
    gw.ethernetPort(4, "eth0.4", "Down");
    gw.settled();
    gw.set("Ethernet.Interface.4.Status", "Up");
    lineIs("NoSignal", true);
    EXPECT_EQ(wan.wanLinkDown, 0);
}

TEST_F(WanLinkDslLine, DownForgetsEthernetThatCameUpInAnEarlierEvent) {
    gw.dslLine(1, "Up", true);
    gw.ethernetPort(4, "eth0.4", "Up");
    gw.settled();
    lineIs("NoSignal", true);
    EXPECT_EQ(wan.wanLinkDown, 1);
}

TEST_F(WanLinkDslLine, UpdatesTheConnectionsAboveInItsMode) {
    gw.dslLine(1, "Up", false);
    channel(1, "DSL.Line.1", "G.992.3_Annex_K_PTM", 0, 0);
    gw.set("InterfaceStack.1.HigherLayer", "PTM.Link.1");
    gw.set("InterfaceStack.1.LowerLayer", "DSL.Channel.1");
    gw.add("PTM.Link.1");
    gw.settled();
    EXPECT_EQ(gw.get("PTM.Link.1.Status"), "Up");
    lineIs("NoSignal", false);
    gw.runThreads();
    EXPECT_EQ(gw.get("PTM.Link.1.Status"), "LowerLayerDown");
}

TEST_F(WanLinkDslLine, HuntThatTakesOverEndsTheEvent) {
    gw.dslLine(2, "Up", true);
    gw.dslLine(1, "Up", true);
    gw.set("X_VORAN_VcAutoHunt.Enable", "true");
    gw.tableBuilt();
    gw.look();
    EXPECT_EQ(gw.requests().size(), 1u);
    EXPECT_EQ(gw.count("updateWanLinkStatus: XTM Link link up LinkTypeisATM:1"), 1);
    EXPECT_FALSE(gw.loggedContaining("xDSL: link up"));
    EXPECT_EQ(wan.isDslLinkUp, 1);
}

TEST_F(WanLinkDslLine, HuntThatCannotBeStoppedEndsTheEvent) {
    gw.dslLine(1, "Up", true);
    gw.settled();
    wan.isVcAutoHuntRunnig = 1;
    gw.endpointAnswers(VCFG_EID_VCAUTOHUNT, VCFG_ERR_NO_PEER);
    lineIs("NoSignal", true);
    EXPECT_EQ(statusOf(""), 0);
    EXPECT_FALSE(gw.loggedContaining("xDSL: XTM link down."));
}

TEST_F(WanLinkDslRate, IsThatOfTheChannelOnTheLineInItsMode) {
    channel(1, "DSL.Line.1", "G.992.3_Annex_K_ATM", 8000, 800);
    channel(2, "DSL.Line.2,DSL.Line.1", "G.992.3_Annex_K_PTM", 50000, 10000);
    logDSLStreamRate("DSL.Line.1", kLinkDslPtm);
    EXPECT_TRUE(gw.logged("syslog", 6, "xDSL: link up, Connection Type: PTM, Speed: RX:50000 / TX:10000 (Kbps)"));
    logDSLStreamRate("DSL.Line.1", kLinkDslAtm);
    EXPECT_TRUE(gw.logged("syslog", 6, "xDSL: link up, Connection Type: ATM, Speed: RX:8000 / TX:800 (Kbps)"));
}

TEST_F(WanLinkDslRate, WithoutChannelIsZero) {
    channel(1, "DSL.Line.12", "G.992.3_Annex_K_PTM", 50000, 10000);
    logDSLStreamRate("DSL.Line.1", kLinkDslPtm);
    EXPECT_TRUE(gw.logged("syslog", 6, "xDSL: link up, Connection Type: PTM, Speed: RX:0 / TX:0 (Kbps)"));
}

TEST_F(WanLinkDslRate, WithoutLineIsAnError) {
    logDSLStreamRate(nullptr, kLinkDslPtm);
    EXPECT_TRUE(gw.logged("stdout", "logDSLStreamRate() <<Error>> dslLinePath is NULL!"));
}

TEST_F(WanLinkDslRate, OfAnyOtherModeIsNotLogged) {
    logDSLStreamRate("DSL.Line.1", kLinkEthernet);
    EXPECT_TRUE(gw.log().empty());
}

TEST_F(WanLinkDslVlan, PtmLineGoingDownRemovesOneRulePerPtmInterface) {
    gw.dslLine(1, "Up", false);
    gw.set("IP.Interface.1.X_VORAN_IfName", "ptm0.1");
    gw.set("IP.Interface.2.X_VORAN_IfName", "eth0.4");
    gw.set("IP.Interface.3.X_VORAN_IfName", "ptm1.2");
    gw.settled();
    lineIs("NoSignal", false);
    EXPECT_EQ(gw.actions(),
              words::join({words::endPtm(), words::removePtmRule("ptm1", 0), words::removePtmRule("ptm1", 1)}));
}

TEST_F(WanLinkDslVlan, PtmLineWithoutPtmInterfaceRemovesNone) {
    gw.dslLine(1, "Up", false);
    gw.settled();
    lineIs("NoSignal", false);
    EXPECT_EQ(gw.actions(), words::endPtm());
}

TEST_F(WanLinkDslVlan, AtmLineGoingDownDoesNeither) {
    gw.dslLine(1, "Up", true);
    gw.set("IP.Interface.1.X_VORAN_IfName", "ptm0.1");
    gw.settled();
    lineIs("NoSignal", true);
    EXPECT_TRUE(gw.actions().empty());
}

TEST_F(WanLinkDslVlan, DeviceNameCannotBecomeACommand) {
    gw.set("IP.Interface.1.X_VORAN_IfName", "ptm;reboot");
    removePtmVlanRules();
    EXPECT_EQ(gw.commands(), words::removePtmRule("'ptm;'", 0));
}

}  // namespace
