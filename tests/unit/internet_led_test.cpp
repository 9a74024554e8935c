#include "link/internet_led.h"

#include <thread>

#include "link/wwan_backup.h"
#include "unit/wan_fixture.h"

namespace {

const Commands kLedOff = words::ledOff();
const Commands kLedGreen = words::ledGreen();
const Commands kLedRed = words::ledRed();

Commands join(const Commands& first, const Commands& second, const Commands& third = {}) {
    Commands all = first;
    all.insert(all.end(), second.begin(), second.end());
    all.insert(all.end(), third.begin(), third.end());
    return all;
}

class LedTest : public testing::Test {
  protected:
    LedTest() {
        wan.wanLinkDown = 0;
        gw.add("Routing.Router.1");
    }
    void wanInterface(unsigned n, const std::string& status, const std::string& device = "ptm0.1") {
        const std::string path = "IP.Interface." + std::to_string(n) + ".";
        gw.set(path + "Enable", "true");
        gw.set(path + "IPv4Enable", "true");
        gw.set(path + "X_VORAN_WAN", "true");
        gw.set(path + "X_VORAN_IfName", device);
        gw.set(path + "Status", status);
    }
    void ipv6Interface(unsigned n, const std::string& status) {
        const std::string path = "IP.Interface." + std::to_string(n) + ".";
        gw.set(path + "Enable", "true");
        gw.set(path + "IPv6Enable", "true");
        gw.set(path + "X_VORAN_IfName", "ptm0.2");
        gw.set(path + "Status", status);
        gw.set("Routing.Router.1.X_VORAN_IPv6DefaultInterfaces", "IP.Interface." + std::to_string(n));
    }
    void address(const std::string& path, const std::string& ip, const std::string& status = "Enabled",
                 const std::string& enable = "true") {
        gw.set(path + ".IPAddress", ip);
        gw.set(path + ".Status", status);
        gw.set(path + ".Enable", enable);
    }
    void pppInterface(unsigned n, const std::string& status, const std::string& connection) {
        const std::string path = "PPP.Interface." + std::to_string(n) + ".";
        gw.set(path + "Enable", "true");
        gw.set(path + "X_VORAN_IfName", "ppp0");
        gw.set(path + "Status", status);
        gw.set(path + "ConnectionStatus", connection);
    }
    int32_t update() { return wanInternetLEDUpdate(); }
    WanGateway gw;
};

class InternetLed : public LedTest {};
class InternetLedUp : public LedTest {};
class InternetLedIpv6 : public LedTest {};
class InternetLedDrive : public LedTest {};
class InternetLedRoutes : public LedTest {};
class InternetLedLayer : public LedTest {};

TEST_F(InternetLed, UsableIpv4AddressIsState1) {
    wanInterface(1, "Up");
    address("IP.Interface.1.IPv4Address.1", "192.0.2.1");
    EXPECT_EQ(update(), 1);
    EXPECT_EQ(wan.wanInternetUp, 1);
}

TEST_F(InternetLed, BothLinksDownForceState0EvenWithAnAddress) {
    wanInterface(1, "Up");
    address("IP.Interface.1.IPv4Address.1", "192.0.2.1");
    wan.wanLinkDown = 1;
    EXPECT_EQ(update(), 0);
    EXPECT_EQ(wan.wanInternetUp, 0);
}

TEST_F(InternetLed, OneLinkUpOfWiredAndWirelessSuffices) {
    wanInterface(1, "Up");
    address("IP.Interface.1.IPv4Address.1", "192.0.2.1");
    wan.wanLinkDown = 1;
    wan.wirelessWanLinkDown = 0;
    EXPECT_EQ(update(), 1);
}

TEST_F(InternetLed, UpWithoutAddressIsState3) {
    wanInterface(1, "Up");
    EXPECT_EQ(update(), 3);
    EXPECT_EQ(wan.wanInternetUp, 0);
}

TEST_F(InternetLed, UnusableAddressesAreNone) {
    wanInterface(1, "Up");
    address("IP.Interface.1.IPv4Address.1", "0.0.0.0");
    address("IP.Interface.1.IPv4Address.2", "");
    address("IP.Interface.1.IPv4Address.3", "192.0.2.1", "Disabled");
    address("IP.Interface.1.IPv4Address.4", "192.0.2.1", "Enabled", "false");
    EXPECT_EQ(update(), 3);
}

TEST_F(InternetLed, LaterUsableAddressIsFound) {
    wanInterface(1, "Up");
    address("IP.Interface.1.IPv4Address.1", "0.0.0.0");
    address("IP.Interface.1.IPv4Address.2", "192.0.2.1");
    EXPECT_EQ(update(), 1);
}

TEST_F(InternetLed, AddressCountsWhileTheLowerLayerIsDown) {
    wanInterface(1, "LowerLayerDown");
    address("IP.Interface.1.IPv4Address.1", "192.0.2.1");
    EXPECT_EQ(update(), 1);
}

TEST_F(InternetLed, AddressOfAnInterfaceThatIsDownCountsNot) {
    wanInterface(1, "Down");
    address("IP.Interface.1.IPv4Address.1", "192.0.2.1");
    EXPECT_EQ(update(), 0);
}

TEST_F(InternetLed, LanBridgesCountNot) {
    wanInterface(1, "Up", "br0");
    address("IP.Interface.1.IPv4Address.1", "192.168.1.1");
    EXPECT_EQ(update(), 0);
}

TEST_F(InternetLed, OnlyEnabledWanInterfacesWithIpv4Count) {
    for (const char* parameter : {"Enable", "IPv4Enable", "X_VORAN_WAN"}) {
        wanInterface(1, "Up");
        address("IP.Interface.1.IPv4Address.1", "192.0.2.1");
        gw.set(std::string("IP.Interface.1.") + parameter, "false");
        EXPECT_EQ(update(), 0) << parameter;
    }
}

TEST_F(InternetLed, BridgedInterfaceAloneIsState2) {
    wanInterface(1, "Up");
    gw.set("IP.Interface.1.IPv4Enable", "false");
    gw.set("IP.Interface.1.X_VORAN_ConnectionType", "IP_Bridged");
    EXPECT_EQ(update(), 2);
}

TEST_F(InternetLed, RoutedInterfaceBesideABridgedOneIsState3) {
    wanInterface(1, "Up");
    gw.set("IP.Interface.1.IPv4Enable", "false");
    gw.set("IP.Interface.1.X_VORAN_ConnectionType", "IP_Bridged");
    wanInterface(2, "Up", "ptm0.2");
    EXPECT_EQ(update(), 3);
}

TEST_F(InternetLed, BridgedInterfaceThatIsDownIsState0) {
    wanInterface(1, "Down");
    gw.set("IP.Interface.1.X_VORAN_ConnectionType", "IP_Bridged");
    EXPECT_EQ(update(), 0);
}

TEST_F(InternetLedUp, LowerLayerDownCountsNotByItself) {
    wanInterface(1, "LowerLayerDown");
    EXPECT_EQ(update(), 0);
}

TEST_F(InternetLedUp, LowerLayerDownCountsOnAVlanThatIsUp) {
    wanInterface(1, "LowerLayerDown");
    gw.set("IP.Interface.1.LowerLayers", "Ethernet.VLANTermination.2");
    gw.set("Ethernet.VLANTermination.2.Status", "Up");
    EXPECT_EQ(update(), 3);
}

TEST_F(InternetLedUp, VlanThatIsUpDoesNotRaiseAnInterfaceOfAnyOtherStatus) {
    for (const char* status : {"Down", "Dormant", "NotPresent", "Error", "Unknown"}) {
        wanInterface(1, status);
        gw.set("IP.Interface.1.LowerLayers", "Ethernet.VLANTermination.2");
        gw.set("Ethernet.VLANTermination.2.Status", "Up");
        EXPECT_EQ(update(), 0) << status;
    }
}

class InternetLedPpp : public LedTest, public testing::WithParamInterface<std::pair<const char*, const char*>> {};

TEST_P(InternetLedPpp, InterfaceOnAPppLinkInUseCounts) {
    wanInterface(1, "Down", "ppp0");
    gw.set("IP.Interface.1.LowerLayers", "PPP.Interface.4");
    pppInterface(4, GetParam().first, GetParam().second);
    EXPECT_EQ(update(), 3);
}
INSTANTIATE_TEST_SUITE_P(StatusOrConnection, InternetLedPpp,
                         testing::Values(std::pair{"Up", "Disconnected"}, std::pair{"LowerLayerDown", "Disconnected"},
                                         std::pair{"Down", "Connected"}, std::pair{"Down", "Connecting"}));

TEST_F(InternetLedUp, PppLinkThatIsNotInUseCountsNot) {
    wanInterface(1, "Down", "ppp0");
    gw.set("IP.Interface.1.LowerLayers", "PPP.Interface.4");
    pppInterface(4, "Down", "Disconnected");
    EXPECT_EQ(update(), 0);
}

TEST_F(InternetLedUp, PppLinkOfAnotherDeviceCountsNot) {
    wanInterface(1, "Down", "ppp1");
    gw.set("IP.Interface.1.LowerLayers", "PPP.Interface.4");
    pppInterface(4, "Up", "Connected");
    EXPECT_EQ(update(), 0);
}

TEST_F(InternetLedUp, DisabledPppLinkCountsNot) {
    wanInterface(1, "Down", "ppp0");
    gw.set("IP.Interface.1.LowerLayers", "PPP.Interface.4");
    pppInterface(4, "Up", "Connected");
    gw.set("PPP.Interface.4.Enable", "false");
    EXPECT_EQ(update(), 0);
}

TEST_F(InternetLedUp, MissingPppLinkCountsNot) {
    wanInterface(1, "Down", "ppp0");
    gw.set("IP.Interface.1.LowerLayers", "PPP.Interface.4");
    EXPECT_EQ(update(), 0);
}

TEST_F(InternetLedIpv6, UsableAddressIsState1) {
    ipv6Interface(2, "Up");
    address("IP.Interface.2.IPv6Address.1", "2001:db8::1");
    EXPECT_EQ(update(), 1);
    EXPECT_TRUE(gw.logged("stdout", "wanInternetLEDUpdate: IP.Interface.2 ipv6 2001:db8::1 status Enabled"));
}

TEST_F(InternetLedIpv6, WithoutAddressIsState3) {
    ipv6Interface(2, "Up");
    EXPECT_EQ(update(), 3);
}

TEST_F(InternetLedIpv6, OnlyInterfacesOfTheDefaultRouteCount) {
    ipv6Interface(2, "Up");
    address("IP.Interface.2.IPv6Address.1", "2001:db8::1");
    for (const char* list : {"", "IP.Interface.3", "IP.Interface.22,IP.Interface.21"}) {
        gw.set("Routing.Router.1.X_VORAN_IPv6DefaultInterfaces", list);
        EXPECT_EQ(update(), 0) << list;
    }
    gw.set("Routing.Router.1.X_VORAN_IPv6DefaultInterfaces", "IP.Interface.22,IP.Interface.2,IP.Interface.5");
    EXPECT_EQ(update(), 1);
}

TEST_F(InternetLedIpv6, WithoutRouterCountsNot) {
    ipv6Interface(2, "Up");
    address("IP.Interface.2.IPv6Address.1", "2001:db8::1");
    gw.refuseWrite(inproc::Operation::Get, "Routing.Router.{i}");
    EXPECT_EQ(update(), 0);
}

TEST_F(InternetLedIpv6, AddressesAreSkippedWhenIpv4HasOneAndIsEnabledHere) {
    wanInterface(2, "Up");
    ipv6Interface(2, "Up");
    address("IP.Interface.2.IPv4Address.1", "192.0.2.1");
    address("IP.Interface.2.IPv6Address.1", "2001:db8::1");
    EXPECT_EQ(update(), 1);
    EXPECT_FALSE(gw.loggedContaining(" ipv6 "));
}

TEST_F(InternetLedIpv6, AddressesAreWalkedWhenIpv4IsNotEnabledHere) {
    wanInterface(1, "Up");
    address("IP.Interface.1.IPv4Address.1", "192.0.2.1");
    ipv6Interface(2, "Up");
    address("IP.Interface.2.IPv6Address.1", "2001:db8::1");
    EXPECT_EQ(update(), 1);
    EXPECT_TRUE(gw.loggedContaining(" ipv6 2001:db8::1"));
}

TEST_F(InternetLedIpv6, WalkStopsAtTheFirstUsableAddress) {
    ipv6Interface(2, "Down");
    address("IP.Interface.2.IPv6Address.1", "fe80::1", "Disabled");
    address("IP.Interface.2.IPv6Address.2", "2001:db8::1");
    address("IP.Interface.2.IPv6Address.3", "2001:db8::2");
    EXPECT_EQ(update(), 1);
    EXPECT_TRUE(gw.loggedContaining(" ipv6 fe80::1 status Disabled"));
    EXPECT_FALSE(gw.loggedContaining("2001:db8::2"));
}

TEST_F(InternetLedDrive, FirstUpdateAlwaysShowsItsState) {
    wan.wanLinkDown = 1;
    EXPECT_EQ(update(), 0);
    EXPECT_EQ(gw.commands(), join(kRouteCommands, kLedOff));
}

TEST_F(InternetLedDrive, State1IsOffThenGreen) {
    wanInterface(1, "Up");
    address("IP.Interface.1.IPv4Address.1", "192.0.2.1");
    update();
    EXPECT_EQ(gw.commands(), join(kRouteCommands, kLedOff, kLedGreen));
}

TEST_F(InternetLedDrive, State3IsOffThenRed) {
    wanInterface(1, "Up");
    update();
    EXPECT_EQ(gw.commands(), join(kRouteCommands, kLedOff, kLedRed));
}

TEST_F(InternetLedDrive, State2IsOff) {
    wanInterface(1, "Up");
    gw.set("IP.Interface.1.IPv4Enable", "false");
    gw.set("IP.Interface.1.X_VORAN_ConnectionType", "IP_Bridged");
    EXPECT_EQ(update(), 2);
    EXPECT_EQ(gw.commands(), join(kRouteCommands, kLedOff));
}

TEST_F(InternetLedDrive, SameOutcomeDrivesTheLedOnceAndReadsTheRoutesEachTime) {
    wanInterface(1, "Up");
    update();
    gw.forget();
    update();
    EXPECT_EQ(gw.commands(), kRouteCommands);
}

TEST_F(InternetLedDrive, FromMessageTakesTheSameRoad) {
    wanInterface(1, "Up");
    gw.receiveEmpty(VCFG_MSG_WAN_INTERNET_LED_UPDATE);
    EXPECT_EQ(wan.lastInternetLedState, 3);
    EXPECT_NO_REPLY(gw);
}

TEST_F(InternetLedDrive, ConcurrentUpdatesEndInTheTrueState) {
    words::giveLeds(gw);
    wanInterface(1, "Up");
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([] {
            for (int n = 0; n < 50; ++n) {
                wan.wanLinkDown = static_cast<uint8_t>(n % 2);
                wanInternetLEDUpdate();
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    wan.wanLinkDown = 0;
    EXPECT_EQ(update(), 3);
    EXPECT_TRUE(words::showsRed(gw));
}

TEST_F(InternetLedDrive, CostGrowsLinearlyWithTheInterfaces) {
    const auto callsWith = [this](unsigned first, unsigned last) {
        for (unsigned n = first; n <= last; ++n) {
            wanInterface(n, "Up", "ptm0." + std::to_string(n));
            address("IP.Interface." + std::to_string(n) + ".IPv4Address.1", "192.0.2.1");
        }
        const unsigned before = inproc::calls();
        update();
        return inproc::calls() - before;
    };
    const unsigned with8 = callsWith(1, 8);
    const unsigned with32 = callsWith(9, 32);
    const unsigned with128 = callsWith(33, 128);
    EXPECT_EQ(with128 - with32, 4 * (with32 - with8));
}

TEST_F(InternetLedRoutes, Ipv4RouteGivesItsDevice) {
    gw.commandOutput("ip route | grep 'default'", "default via 192.0.2.1 dev ppp0 metric 5");
    std::string device;
    EXPECT_TRUE(hasDefaultRoute(device));
    EXPECT_EQ(device, "ppp0");
}

TEST_F(InternetLedRoutes, LineIsReadUpTo250Characters) {
    const std::string start = "default via " + std::string(225, '1') + " dev ";
    gw.commandOutput("ip route | grep 'default'", start + "ethernet0 metric 5");
    gw.commandOutput("ip -6 route | grep 'default'", start + "ptm0 p metric 5");
    std::string device;
    EXPECT_TRUE(hasDefaultRoute(device));
    EXPECT_EQ(device, "ethernet");
    EXPECT_TRUE(hasIpv6DefaultRoute(device));
    EXPECT_EQ(device, "ptm0");
    gw.commandOutput("ip -6 route | grep 'default'", start + "ptm0.12 proto ra");
    EXPECT_FALSE(hasIpv6DefaultRoute(device));
}

TEST_F(InternetLedRoutes, Ipv6RouteNeedsAThirdField) {
    std::string device;
    gw.commandOutput("ip -6 route | grep 'default'", "default via fe80::1 dev ptm0.1");
    EXPECT_FALSE(hasIpv6DefaultRoute(device));
    gw.commandOutput("ip -6 route | grep 'default'", "default via fe80::1 dev ptm0.1 proto ra");
    EXPECT_TRUE(hasIpv6DefaultRoute(device));
    EXPECT_EQ(device, "ptm0.1");
}

TEST_F(InternetLedRoutes, OtherOutputIsNoRoute) {
    std::string device = "none";
    EXPECT_FALSE(hasDefaultRoute(device));
    for (const std::string& output : {std::string(), std::string("default dev ppp0"), std::string(250, 'x'),
                                      std::string("default via 192.0.2.1 dev")}) {
        gw.commandOutput("ip route | grep 'default'", output);
        gw.commandOutput("ip -6 route | grep 'default'", output);
        EXPECT_FALSE(hasDefaultRoute(device));
        EXPECT_FALSE(hasIpv6DefaultRoute(device));
    }
    EXPECT_EQ(device, "none");
}

TEST_F(InternetLedLayer, UpperCasePppPathGivesNoText) {
    pppInterface(1, "Up", "Connected");
    EXPECT_EQ(lowerLayerStatus("PPP.Interface.1"), "");
}

TEST_F(InternetLedLayer, LowerCasePppLeadsToThePppInterface) {
    pppInterface(1, "Up", "Connected");
    EXPECT_EQ(lowerLayerStatus("PPP.Interface.1,ppp0"), "Up");
    EXPECT_EQ(lowerLayerStatus("ppp0"), "");
    EXPECT_EQ(lowerLayerStatus("PPP.Interface.2,ppp0"), "");
}

TEST_F(InternetLedLayer, VlanTerminationGivesItsStatus) {
    gw.set("Ethernet.VLANTermination.3.Status", "Dormant");
    EXPECT_EQ(lowerLayerStatus("Ethernet.VLANTermination.3"), "Dormant");
    EXPECT_EQ(lowerLayerStatus("Ethernet.VLANTermination.4"), "");
}

TEST_F(InternetLedLayer, AnythingElseGivesNoText) {
    gw.set("Ethernet.Link.1.Status", "Up");
    EXPECT_EQ(lowerLayerStatus("Ethernet.Link.1"), "");
    EXPECT_EQ(lowerLayerStatus(""), "");
}

class InternetLedBackup : public testing::Test {
  protected:
    InternetLedBackup() {
        gw.set("X_VORAN_WWANBackup.Enable", "true");
        gw.set("X_VORAN_WWANBackup.Status", "Up");
        gw.set("X_VORAN_WWANBackup.Interface", "IP.Interface.5");
        gw.forget();
    }
    bool mailHandled() const { return gw.loggedContaining("emailEventHandle : Enter"); }
    WanGateway gw;
};

TEST_F(InternetLedBackup, UpRaisesItsMail) {
    gw.set("X_VORAN_MailEvent.1.Event", "MAILSEND_EVENT_3G_UP");
    wanConnctionReadyHandle("IP.Interface.5", 9, 77);
    EXPECT_TRUE(gw.logged("syslog", 6, "wanConnctionReadyHandle: Enter"));
    EXPECT_TRUE(gw.logged("syslog", 6, "check3GWanStatus: Enter"));
    EXPECT_TRUE(gw.logged("stdout", "enable: 1, status: Up, interface: IP.Interface.5, ipIfPath: IP.Interface.5"));
    EXPECT_TRUE(gw.logged("stdout", "WWAN is Up!"));
    EXPECT_TRUE(gw.logged("stdout", "emailEventHandle: Event MAILSEND_EVENT_3G_UP doesn't enable"));
}

TEST_F(InternetLedBackup, DownRaisesItsMail) {
    gw.set("X_VORAN_WWANBackup.Status", "Down");
    gw.set("X_VORAN_MailEvent.1.Event", "MAILSEND_EVENT_3G_DOWN");
    wanConnctionLostHandle("IP.Interface.5", 9, 77);
    EXPECT_TRUE(gw.logged("syslog", 6, "wanConnctionLostHandle: Enter"));
    EXPECT_TRUE(gw.logged("stdout", "WWAN is Down!"));
    EXPECT_TRUE(gw.logged("stdout", "emailEventHandle: Event MAILSEND_EVENT_3G_DOWN doesn't enable"));
}

TEST_F(InternetLedBackup, OtherStatusRaisesNothing) {
    gw.set("X_VORAN_WWANBackup.Status", "Connecting");
    check3GWanStatus("IP.Interface.5", 9, 77);
    EXPECT_FALSE(mailHandled());
}

TEST_F(InternetLedBackup, DisabledRaisesNothing) {
    gw.set("X_VORAN_WWANBackup.Enable", "false");
    check3GWanStatus("IP.Interface.5", 9, 77);
    EXPECT_TRUE(gw.logged("stdout", "WWANBackup was disabled"));
    EXPECT_FALSE(mailHandled());
}

TEST_F(InternetLedBackup, WithoutDongleRaisesNothing) {
    gw.set("X_VORAN_WWANBackup.Status", "No Device");
    check3GWanStatus("IP.Interface.5", 9, 77);
    EXPECT_TRUE(gw.logged("stdout", "There are no 3G/LTE dongles..."));
    EXPECT_FALSE(mailHandled());
}

TEST_F(InternetLedBackup, OnAnotherInterfaceRaisesNothing) {
    check3GWanStatus("IP.Interface.6", 9, 77);
    EXPECT_FALSE(mailHandled());
}

TEST_F(InternetLedBackup, WithoutPathRaisesNothing) {
    check3GWanStatus(nullptr, 9, 77);
    EXPECT_TRUE(gw.loggedContaining("ipIfPath: (null)"));
    EXPECT_FALSE(mailHandled());
}

TEST_F(InternetLedBackup, UnreadableObjectIsLogged) {
    gw.refuseWrite(inproc::Operation::Get, "X_VORAN_WWANBackup");
    check3GWanStatus("IP.Interface.5", 9, 77);
    EXPECT_TRUE(gw.logged("syslog", 6, "check3GWanStatus: Cannot get WWANBackup Obj!"));
    EXPECT_FALSE(mailHandled());
}

TEST_F(InternetLedBackup, MessagesReachTheHandlersWithoutReply) {
    gw.receive(VCFG_MSG_WAN_CONNECTION_READY, "IP.Interface.5");
    gw.receive(VCFG_MSG_WAN_CONNECTION_LOST, "IP.Interface.5");
    EXPECT_EQ(gw.count("WWAN is Up!"), 2);
    EXPECT_NO_REPLY(gw);
}

}  // namespace
