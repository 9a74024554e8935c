#include "link/link_event.h"
#include "unit/wan_fixture.h"

namespace {

constexpr int32_t kNoRule = 10;  // a WANPriority without fail-over

class WanLinkEthernet : public testing::Test {
  protected:
    // One copper WAN port (instance 4) and, above it, what lies on it.
    void copperPort(const std::string& status) {
        gw.ethernetPort(4, "eth0.4", status);
        gw.set("InterfaceStack.1.HigherLayer", "Ethernet.Link.1");
        gw.set("InterfaceStack.1.LowerLayer", "Ethernet.Interface.4");
        gw.add("Ethernet.Link.1");
    }
    void isUp() {
        copperPort("Up");
        wan.WANPriority = kNoRule;
        gw.settled();
    }
    std::string above() {
        gw.set("Ethernet.Link.1.Status", "Unknown");
        gw.runThreads();
        return gw.get("Ethernet.Link.1.Status");
    }
    WanGateway gw;
};

TEST_F(WanLinkEthernet, UpIsRecordedAndShown) {
    copperPort("Up");
    wan.WANPriority = kNoRule;
    gw.tableBuilt();
    gw.look();
    EXPECT_EQ(statusOf("eth0.4"), 1);
    EXPECT_EQ(wan.wanLinkDown, 0);
    EXPECT_EQ(wan.isSfpWanLinkUp, 0);
    EXPECT_TRUE(gw.logged("stdout", "updateWanLinkStatus: Ethernet Link link up"));
    EXPECT_TRUE(gw.logged("syslog", 6, "Ethernet Wan eth0.4 link up"));
    EXPECT_EQ(gw.commands().at(0), kRouteCommands[0]);
    EXPECT_EQ(above(), "Up");
}

TEST_F(WanLinkEthernet, DownIsRecordedAndShown) {
    isUp();
    gw.set("Ethernet.Interface.4.Status", "Down");
    gw.look();
    EXPECT_EQ(statusOf("eth0.4"), 0);
    EXPECT_EQ(wan.wanLinkDown, 1);
    EXPECT_TRUE(gw.logged("stdout", "updateWanLinkStatus: Ethernet Link link down"));
    EXPECT_TRUE(gw.printedAtLine("[updateWanLinkStatus][", "]isDslLinkUp=[0]"));
    EXPECT_TRUE(gw.logged("syslog", 6, "Ethernet Wan eth0.4 link down"));
    EXPECT_EQ(above(), "LowerLayerDown");
}

TEST_F(WanLinkEthernet, StatusOtherThanUpIsDown) {
    isUp();
    gw.set("Ethernet.Interface.4.Status", "Dormant");
    gw.look();
    EXPECT_EQ(statusOf("eth0.4"), 0);
}

TEST_F(WanLinkEthernet, PublishedRecordIsNotOverwrittenByTheWalksOlderCopy) {
    copperPort("Down");
    wan.WANPriority = kNoRule;
    gw.tableBuilt();
    updateWanLinkStatus("eth0.4:up:1000:F", false);
    EXPECT_EQ(gw.writes(), Commands{"publish Ethernet.Interface.4"});
}

TEST_F(WanLinkEthernet, PortThatIsNotUpstreamIsLeftAlone) {
    copperPort("Up");
    gw.set("Ethernet.Interface.4.Upstream", "false");
    gw.set("Ethernet.Interface.4.X_VORAN_WANPort", "true");
    gw.tableBuilt();
    updateWanLinkStatus("eth0.4:down:0:H", false);
    EXPECT_EQ(statusOf("eth0.4"), 0);
    EXPECT_TRUE(gw.writes().empty());
}

TEST_F(WanLinkEthernet, DownWithDslUpKeepsTheWanUp) {
    isUp();
    wan.isDslLinkUp = 1;
    gw.set("Ethernet.Interface.4.Status", "Down");
    gw.look();
    EXPECT_EQ(wan.wanLinkDown, 0);
    EXPECT_TRUE(gw.printedAtLine("[updateWanLinkStatus][", "]isDslLinkUp=[1]"));
}

TEST_F(WanLinkEthernet, DownAfterAnotherCameUpInTheSameEventCountsAgainstIt) {
    copperPort("Up");
    gw.ethernetPort(5, "eth0.5", "Down");
    wan.WANPriority = kNoRule;
    gw.settled();
    gw.set("Ethernet.Interface.5.Status", "Up");  // met first
    gw.set("Ethernet.Interface.4.Status", "Down");
    gw.look();
    EXPECT_EQ(wan.wanLinkDown, 1);
}

TEST_F(WanLinkEthernet, CountOfUpsNeverGoesBelowZero) {
    copperPort("Down");
    gw.ethernetPort(5, "eth0.5", "Up");
    gw.dslLine(1, "Up");
    wan.WANPriority = kNoRule;
    gw.settled();
    gw.set("Ethernet.Interface.5.Status", "Down");  // met first: 0, not -1
    gw.set("Ethernet.Interface.4.Status", "Up");    // 1, not 0
    gw.dslLine(1, "NoSignal");                      // met last: an Ethernet link carries the WAN
    gw.look();
    EXPECT_EQ(wan.isDslLinkUp, 0);
    EXPECT_EQ(wan.wanLinkDown, 0);
}

TEST_F(WanLinkEthernet, VlanHuntEnabledEndsTheEventWhenAsked) {
    copperPort("Up");
    gw.usbPort(1, "Up");
    gw.set("X_VORAN_VlanAutoHunt.Enable", "true");
    wan.WANPriority = kNoRule;
    gw.tableBuilt();
    gw.look(true);
    EXPECT_TRUE(gw.logged("stdout", "updateWanLinkStatus: vlan auto hunt is enabled, skip auto hunt process"));
    EXPECT_EQ(statusOf("eth0.4"), 1);
    EXPECT_EQ(statusOf("usb"), 0);
    EXPECT_TRUE(gw.requests().empty());
    EXPECT_EQ(above(), "Unknown");
}

TEST_F(WanLinkEthernet, VlanHuntDisabledGoesOnWhenAsked) {
    copperPort("Up");
    wan.WANPriority = kNoRule;
    gw.tableBuilt();
    gw.look(true);
    EXPECT_EQ(above(), "Up");
}

TEST_F(WanLinkEthernet, InstanceFiveComesUpWithoutTheLookAtVlanHunt) {
    gw.ethernetPort(5, "eth0.5", "Up");
    gw.set("X_VORAN_VlanAutoHunt.Enable", "true");
    wan.WANPriority = kNoRule;
    gw.tableBuilt();
    gw.look(true);
    EXPECT_FALSE(gw.loggedContaining("skip auto hunt process"));
    EXPECT_TRUE(gw.logged("syslog", 6, "Ethernet Wan eth0.5 link up"));
}

TEST_F(WanLinkEthernet, InstanceFiveGoesDownWithTheLookAtVlanHunt) {
    gw.ethernetPort(5, "eth0.5", "Up");
    wan.WANPriority = kNoRule;
    gw.settled();
    gw.set("X_VORAN_VlanAutoHunt.Enable", "true");
    gw.set("Ethernet.Interface.5.Status", "Down");
    gw.look(true);
    EXPECT_TRUE(gw.loggedContaining("skip auto hunt process"));
    EXPECT_EQ(statusOf("eth0.5"), 0);
    EXPECT_FALSE(gw.logged("syslog", "Ethernet Wan eth0.5 link down"));
}

TEST_F(WanLinkEthernet, HuntThatTakesOverEndsTheEvent) {
    copperPort("Up");
    gw.usbPort(1, "Up");
    wan.isVlanAutoHuntRunnig = 1;
    wan.WANPriority = kNoRule;
    gw.tableBuilt();
    gw.look();
    EXPECT_EQ(statusOf("eth0.4"), 1);
    EXPECT_FALSE(gw.logged("syslog", "Ethernet Wan eth0.4 link up"));
    EXPECT_EQ(above(), "Unknown");
    EXPECT_EQ(statusOf("usb"), 0);
    gw.look();
    EXPECT_EQ(statusOf("usb"), 1);  // the rest waits for the next event
}

TEST_F(WanLinkEthernet, HuntThatCannotBeStoppedEndsTheEvent) {
    isUp();
    gw.set("X_VORAN_VlanAutoHunt.Enable", "true");
    wan.isVlanAutoHuntRunnig = 1;
    gw.endpointAnswers(VCFG_EID_VLANAUTOHUNT, VCFG_ERR_NO_PEER);
    gw.set("Ethernet.Interface.4.Status", "Down");
    gw.look();
    EXPECT_EQ(statusOf("eth0.4"), 0);
    EXPECT_EQ(above(), "Unknown");
}

TEST_F(WanLinkEthernet, SystemWithoutUptimeKeepsTheTimeOfTheLastChange) {
    copperPort("Up");
    gw.set("Ethernet.Interface.4.LastChange", "7");
    wan.WANPriority = kNoRule;
    gw.tableBuilt();
    gw.advance(50'000);
    gw.noUptime();
    updateWanLinkStatus("eth0.4:down:0:H", false);
    EXPECT_EQ(gw.get("Ethernet.Interface.4.Status"), "Down");
    EXPECT_EQ(gw.get("Ethernet.Interface.4.LastChange"), "7");
}

}  // namespace
