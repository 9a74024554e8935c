// The walk over the WAN link table, and the links that only follow their object's status.

#include <thread>

#include "unit/wan_fixture.h"

namespace {

class WanLinkTest : public testing::Test {
  protected:
    WanGateway gw;
};

class WanLinkPayload : public WanLinkTest {
  protected:
    WanLinkPayload() {
        gw.ethernetPort(5, "eth0.5", "Down");
        gw.tableBuilt();
    }
    void event(const std::string& payload) {
        gw.forget();
        updateWanLinkStatus(payload.c_str(), false);
    }
    bool understoodAs(const std::string& interface, const std::string& status) {
        return gw.logged("stdout", "[TARN]: interface: " + interface + ", status: " + status);
    }
};
class WanLinkWalk : public WanLinkTest {};
class WanLinkOptical : public WanLinkTest {};
class WanLinkUsb : public WanLinkTest {};
class WanLinkOverlap : public WanLinkTest {};

TEST_F(WanLinkPayload, IsPrintedAndUnderstood) {
    event("eth0.5:up:100:F");
    EXPECT_TRUE(gw.printedAtLine("updateWanLinkStatus ", ":MMMMMMMMMMMMMMMMM payload: eth0.5:up:100:F !!"));
    EXPECT_TRUE(understoodAs("eth0.5", "UP"));
    EXPECT_TRUE(gw.logged("stdout", "[TARN]: change interface eth0.5 status to UP"));
}

TEST_F(WanLinkPayload, UpInAnyLetterCaseTakesTheLinkUp) {
    for (const char* status : {"up", "UP", "Up", "uPwards"}) {
        tarnResetWanLinkStatus(kLinkNone);
        event(std::string("eth0.5:") + status + ":100:F");
        EXPECT_EQ(statusOf("eth0.5"), 1) << status;
    }
}

// The port's event knows "up" in small letters only, and it is the port's event that writes the record.
TEST_F(WanLinkPayload, UpInOtherLetterCaseIsDownInTheRecord) {
    event("eth0.5:UP:100:F");
    EXPECT_TRUE(gw.logged("stdout", "[TARN]: change interface eth0.5 status to UP"));
    EXPECT_EQ(statusOf("eth0.5"), 1);
    EXPECT_EQ(gw.get("Ethernet.Interface.5.Status"), "Down");
    EXPECT_EQ(gw.get("Ethernet.Interface.5.MaxBitRate"), "-1");
}

TEST_F(WanLinkPayload, AnythingElseIsDown) {
    for (const char* status : {"down", "u", "", "pu", " up"}) {
        event("eth0.5:up:100:F");
        event(std::string("eth0.5:") + status + ":100:F");
        EXPECT_EQ(statusOf("eth0.5"), 0) << status;
        EXPECT_TRUE(understoodAs("eth0.5", "DOWN")) << status;
    }
}

TEST_F(WanLinkPayload, WritesThePortsStatusThroughThePortEvent) {
    event("eth0.5:up:100:F");
    EXPECT_EQ(gw.get("Ethernet.Interface.5.Status"), "Up");
    EXPECT_EQ(gw.get("Ethernet.Interface.5.MaxBitRate"), "100");
    EXPECT_EQ(gw.writes(), Commands{"publish Ethernet.Interface.5"});
}

TEST_F(WanLinkPayload, OfAnotherNameWritesNothing) {
    for (const char* name : {"eth0.4", "eth0.55", "eth0.", "ETH0.5"}) {
        event(std::string(name) + ":up:100:F");
        EXPECT_TRUE(gw.writes().empty()) << name;
        EXPECT_EQ(statusOf("eth0.5"), 0) << name;
    }
}

TEST_F(WanLinkPayload, OfADslDeviceNamesNoInterface) {
    if (!words::namesDslDevices()) {
        GTEST_SKIP() << "no event of this platform is about a DSL device";
    }
    gw.set("Ethernet.Interface.5.Name", "ptm0");
    for (const char* name : {"ptm0", "atm1", "xtm"}) {
        event(std::string(name) + ":up:100:F");
        EXPECT_TRUE(understoodAs("", "UP")) << name;
        EXPECT_TRUE(gw.writes().empty()) << name;
    }
}

TEST_F(WanLinkPayload, WithoutColonIsIgnored) {
    event("eth0.5 up");
    EXPECT_TRUE(understoodAs("", "DOWN"));
    EXPECT_TRUE(gw.writes().empty());
}

TEST_F(WanLinkPayload, MissingOrEmptyPrintsNothing) {
    event("");
    EXPECT_FALSE(gw.loggedContaining("payload"));
    gw.forget();
    gw.look();
    EXPECT_FALSE(gw.loggedContaining("[TARN]"));
}

TEST_F(WanLinkPayload, NameIsCutTo31Characters) {
    gw.set("Ethernet.Interface.5.Name", std::string(31, 'e'));
    event(std::string(40, 'e') + ":up:100:F");
    EXPECT_TRUE(understoodAs(std::string(31, 'e'), "UP"));
    EXPECT_EQ(statusOf("eth0.5"), 1);
}

TEST_F(WanLinkPayload, OfFourThousandCharactersIsHandled) {
    event(std::string(4000, ':'));
    EXPECT_TRUE(understoodAs("", "DOWN"));
    event(std::string(4000, 'e'));
    EXPECT_TRUE(gw.writes().empty());
}

TEST_F(WanLinkPayload, WithoutSpeedAndDuplexTakesTheLinkUpButWritesNoPort) {
    event("eth0.5:up");
    EXPECT_EQ(statusOf("eth0.5"), 1);
    EXPECT_TRUE(gw.writes().empty());
}

TEST_F(WanLinkWalk, NamesEachEntry) {
    gw.dslLine(1, "NoSignal");
    gw.ethernetPort(5, "eth0.5", "Down");
    gw.tableBuilt();
    gw.look();
    EXPECT_TRUE(gw.logged("syslog", 6, "updateWanLinkStatus: linkInfo iface name: eth0.5"));
    EXPECT_TRUE(gw.logged("syslog", 6, "updateWanLinkStatus: linkInfo iface name: "));
}

TEST_F(WanLinkWalk, OverAnEmptyTableDoesNothing) {
    gw.look();
    EXPECT_TRUE(gw.log().empty());
}

TEST_F(WanLinkWalk, MissingObjectsAreLoggedAndSkipped) {
    gw.dslLine(1, "Up");
    gw.usbPort(1, "Up");
    gw.opticalPort(1, "Up");
    gw.ethernetPort(5, "eth0.5", "Up");
    gw.tableBuilt();
    for (const char* object :
         {"DSL.Line.{i}", "USB.Interface.{i}", "Optical.Interface.{i}", "Ethernet.Interface.{i}"}) {
        gw.refuseWrite(inproc::Operation::Get, object);
    }
    gw.look();
    EXPECT_TRUE(gw.logged("syslog", 6, "Can't find wan eth interface config object"));
    EXPECT_TRUE(gw.logged("syslog", 6, "Can't find optical interface config object"));
    EXPECT_TRUE(gw.logged("syslog", 6, "Can't find usb interface config object"));
    EXPECT_TRUE(gw.logged("syslog", 6, "Can't find dsl interface config object"));
    EXPECT_TRUE(gw.commands().empty());
}

TEST_F(WanLinkWalk, RepeatedEventIsActedOnOnce) {
    gw.dslLine(1, "Up");
    gw.usbPort(1, "Up");
    gw.opticalPort(1, "Up");
    gw.settled();
    gw.look();
    EXPECT_TRUE(gw.commands().empty());
    EXPECT_TRUE(gw.writes().empty());
}

TEST_F(WanLinkWalk, EntryOfUnknownTypeIsLogged) {
    gw.dslLine(1, "Up");
    gw.tableBuilt();
    firstWanLink()->linkType = 4;
    gw.look();
    EXPECT_TRUE(gw.logged("syslog", 3, "Unknown link type"));
}

TEST_F(WanLinkWalk, MessageLooksAtTheLinks) {
    gw.usbPort(1, "Up");
    gw.tableBuilt();
    gw.receiveEmpty(VCFG_MSG_WAN_LINK);
    EXPECT_EQ(statusOf("usb"), 1);
    EXPECT_NO_REPLY(gw);
}

TEST_F(WanLinkOptical, FollowsItsStatus) {
    gw.opticalPort(2, "Up");
    gw.tableBuilt();
    gw.look();
    EXPECT_EQ(statusOf("opt"), 1);
    EXPECT_EQ(wan.wanLinkDown, 0);
    EXPECT_EQ(gw.count("GPON Wan pon0 link up"), 1);
    gw.opticalPort(2, "Dormant");
    gw.look();
    EXPECT_EQ(statusOf("opt"), 0);
    EXPECT_EQ(wan.wanLinkDown, 1);
    EXPECT_TRUE(gw.logged("syslog", 6, "GPON Wan pon0 link down"));
}

TEST_F(WanLinkOptical, UpdatesTheConnectionsAbove) {
    gw.opticalPort(2, "Up");
    gw.set("InterfaceStack.1.HigherLayer", "Ethernet.Link.1");
    gw.set("InterfaceStack.1.LowerLayer", "Optical.Interface.2");
    gw.add("Ethernet.Link.1");
    gw.settled();
    EXPECT_EQ(gw.get("Ethernet.Link.1.Status"), "Up");
}

TEST_F(WanLinkOptical, ThatIsNoLongerUpstreamIsLeftAlone) {
    gw.opticalPort(2, "Up");
    gw.tableBuilt();
    gw.set("Optical.Interface.2.Upstream", "false");
    gw.look();
    EXPECT_EQ(statusOf("opt"), 0);
}

TEST_F(WanLinkUsb, FollowsItsStatusInTheWirelessFlag) {
    gw.usbPort(3, "Up");
    gw.tableBuilt();
    gw.look();
    EXPECT_EQ(statusOf("usb"), 1);
    EXPECT_EQ(wan.wirelessWanLinkDown, 0);
    EXPECT_EQ(wan.wanLinkDown, 1);
    EXPECT_TRUE(gw.logged("syslog", 6, "Wireless Wan usb0 link up"));
    gw.usbPort(3, "Down");
    gw.look();
    EXPECT_EQ(wan.wirelessWanLinkDown, 1);
    EXPECT_TRUE(gw.logged("syslog", 6, "Wireless Wan usb0 link down"));
}

TEST_F(WanLinkUsb, UpdatesItsEnabledPpp) {
    gw.usbPort(3, "Up");
    gw.set("InterfaceStack.1.HigherLayer", "PPP.Interface.1");
    gw.set("InterfaceStack.1.LowerLayer", "USB.Interface.3");
    gw.set("PPP.Interface.1.Enable", "true");
    gw.settled();
    EXPECT_EQ(gw.get("PPP.Interface.1.ConnectionStatus"), "Connecting");
}

TEST_F(WanLinkUsb, UpdatesTheLed) {
    gw.usbPort(3, "Up");
    gw.tableBuilt();
    gw.look();
    EXPECT_EQ(gw.commands().at(0), kRouteCommands[0]);
}

// Several threads report flaps of several links at once; the table may be in use by all of them.
TEST_F(WanLinkOverlap, CallsOnSeveralThreadsEndInTheTrueState) {
    gw.dslLine(1, "NoSignal");
    gw.usbPort(1, "Down");
    gw.opticalPort(1, "Down");
    gw.ethernetPort(5, "eth0.5", "Down");
    gw.ethernetPort(6, "eth0.6", "Down");
    wan.WANPriority = 10;
    gw.tableBuilt();
    std::vector<std::thread> threads;
    threads.emplace_back([] {
        for (int flap = 0; flap < 50; ++flap) {
            updateLinkStatus("eth0.5:down:0:H");
            updateLinkStatus("eth0.5:up:100:F");
            updateLinkStatus("eth0.6:up:100:F");
            updateLinkStatus("eth0.6:down:0:H");
        }
    });
    for (int reporter = 0; reporter < 2; ++reporter) {
        threads.emplace_back([this] {
            for (int flap = 0; flap < 50; ++flap) {
                for (const char* status : {"Down", "Up"}) {
                    gw.set("USB.Interface.1.Status", status);
                    updateWanLinkStatus(nullptr, false);
                }
                tarnResetWanLinkStatus(kLinkUsb);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    gw.look();
    EXPECT_EQ(statusOf("eth0.5"), 1);
    EXPECT_EQ(statusOf("eth0.6"), 0);
    EXPECT_EQ(statusOf("usb"), 1);
    EXPECT_EQ(wan.wirelessWanLinkDown, 0);
}

TEST_F(WanLinkOverlap, TableMayGrowWhileItIsWalked) {
    gw.usbPort(1, "Up");
    gw.tableBuilt();
    std::thread walker([] {
        for (int i = 0; i < 100; ++i) {
            updateWanLinkStatus(nullptr, false);
        }
    });
    for (int i = 0; i < 20; ++i) {
        EXPECT_EQ(initWanLinkInfo(), 0);
    }
    walker.join();
    gw.look();
    EXPECT_EQ(statusOf("usb"), 1);
}

}  // namespace
