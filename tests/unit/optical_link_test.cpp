#include "link/optical.h"

#include "unit/wan_fixture.h"

namespace {

class OpticalLink : public testing::Test {
  protected:
    OpticalLink() {
        gw.opticalPort(2, "Down");
        gw.set("InterfaceStack.1.HigherLayer", "Ethernet.Link.1");
        gw.set("InterfaceStack.1.LowerLayer", "Optical.Interface.2");
        gw.add("Ethernet.Link.1");
        gw.tableBuilt();
    }
    void report(const std::string& payload) {
        gw.forget();
        updateOpticalLinkStatus(payload.c_str());
    }
    void serviceUp() { report(R"({"serviceStatus":true})"); }
    void serviceDown() { report(R"({"serviceStatus":false})"); }
    // Status that the connection update has given to the link above.
    std::string above() {
        gw.set("Ethernet.Link.1.Status", "Unknown");
        gw.runThreads();
        return gw.get("Ethernet.Link.1.Status");
    }
    std::string status() { return gw.get("Optical.Interface.2.Status"); }
    WanGateway gw;
};

TEST_F(OpticalLink, ServiceUpTakesTheLinkUp) {
    serviceUp();
    EXPECT_EQ(statusOf("opt"), 1);
    EXPECT_EQ(status(), "Up");
    EXPECT_EQ(wan.wanLinkDown, 0);
    EXPECT_TRUE(gw.logged("syslog", 6, "Enter updateOpticalLinkStatus"));
    EXPECT_TRUE(gw.logged("syslog", 6, "serviceStatus=1"));
    EXPECT_TRUE(gw.logged("syslog", 6, "GPON Wan pon0 link up"));
    EXPECT_EQ(gw.writes(), Commands{"publish Optical.Interface.2"});
    EXPECT_EQ(above(), "Up");
}

TEST_F(OpticalLink, ServiceDownTakesTheLinkDown) {
    serviceUp();
    gw.runThreads();
    serviceDown();
    EXPECT_EQ(statusOf("opt"), 0);
    EXPECT_EQ(status(), "Down");
    EXPECT_EQ(wan.wanLinkDown, 1);
    EXPECT_TRUE(gw.logged("syslog", 6, "serviceStatus=0"));
    EXPECT_TRUE(gw.logged("syslog", 6, "GPON Wan pon0 link down"));
    EXPECT_EQ(above(), "LowerLayerDown");
}

TEST_F(OpticalLink, RepeatedUpTriggersTheConnectionsAgain) {
    serviceUp();
    EXPECT_EQ(above(), "Up");
    wan.wanLinkDown = 1;
    serviceUp();
    EXPECT_FALSE(gw.logged("syslog", "GPON Wan pon0 link up"));
    EXPECT_TRUE(gw.logged("syslog", 6, "GPON Wan pon0 link up to up case"));
    EXPECT_TRUE(gw.writes().empty());
    EXPECT_EQ(wan.wanLinkDown, 0);
    EXPECT_EQ(above(), "Up");
}

TEST_F(OpticalLink, RepeatedDownDoesNothing) {
    serviceDown();
    EXPECT_TRUE(gw.writes().empty());
    EXPECT_TRUE(gw.commands().empty());
    EXPECT_EQ(above(), "Unknown");
}

TEST_F(OpticalLink, EveryChangeUpdatesTheLed) {
    serviceUp();
    EXPECT_EQ(gw.commands().at(0), kRouteCommands[0]);
    serviceUp();
    EXPECT_EQ(gw.commands().at(0), kRouteCommands[0]);
    serviceDown();
    EXPECT_EQ(gw.commands().at(0), kRouteCommands[0]);
}

TEST_F(OpticalLink, ReportWithoutServiceStatusIsServiceDown) {
    serviceUp();
    for (const char* payload : {"{}", R"({"other":true})", R"({"serviceStatus":null})", R"({"serviceStatus":[]})"}) {
        serviceUp();
        report(payload);
        EXPECT_EQ(statusOf("opt"), 0) << payload;
    }
}

TEST_F(OpticalLink, ReportThatDoesNotParseChangesNothing) {
    serviceUp();
    gw.runThreads();
    for (const char* payload : {"", "up", "{", "[true]", "true"}) {
        report(payload);
        EXPECT_EQ(statusOf("opt"), 1) << payload;
        EXPECT_FALSE(gw.loggedContaining("serviceStatus=")) << payload;
    }
}

TEST_F(OpticalLink, MissingReportChangesNothing) {
    gw.receiveEmpty(VCFG_MSG_OPTICAL_LINK_STATUS);
    EXPECT_TRUE(gw.logged("syslog", 6, "Enter updateOpticalLinkStatus"));
    EXPECT_FALSE(gw.loggedContaining("serviceStatus="));
}

TEST_F(OpticalLink, MissingObjectIsLogged) {
    gw.refuseWrite(inproc::Operation::Get, "Optical.Interface.{i}");
    serviceUp();
    EXPECT_TRUE(gw.logged("syslog", 6, "Can't find optical interface config object"));
    EXPECT_EQ(statusOf("opt"), 0);
}

TEST_F(OpticalLink, InterfaceThatIsNoLongerUpstreamIsLeftAlone) {
    gw.set("Optical.Interface.2.Upstream", "false");
    serviceUp();
    EXPECT_EQ(statusOf("opt"), 0);
    EXPECT_TRUE(gw.writes().empty());
}

TEST_F(OpticalLink, OnlyTheFirstEntryIsHandled) {
    gw.opticalPort(3, "Down");
    forgetWanLinks();
    gw.tableBuilt();
    serviceUp();
    EXPECT_EQ(gw.get("Optical.Interface.3.Status"), "Up");
    EXPECT_EQ(status(), "Down");
}

TEST_F(OpticalLink, TableWithoutOpticalEntryDoesNothingMore) {
    forgetWanLinks();
    serviceUp();
    EXPECT_EQ(gw.log().size(), 2u);
    EXPECT_TRUE(gw.logged("syslog", 6, "serviceStatus=1"));
    EXPECT_TRUE(gw.commands().empty());
}

TEST_F(OpticalLink, MessageTakesTheSameRoad) {
    gw.receive(VCFG_MSG_OPTICAL_LINK_STATUS, R"({"serviceStatus":true})");
    EXPECT_EQ(status(), "Up");
    EXPECT_NO_REPLY(gw);
}

}  // namespace
