#include <string>

#include "connection/option121.h"
#include "support/kit.h"

namespace {

constexpr const char* kWan = "IP.Interface.1";

void apply(const std::string& hex) {
    tarnWanDhcpcOption121Apply(kWan, parseOption121Routes(hex), true);
}

size_t routeCount() {
    return inproc::instancesOf("Routing.Router.1.IPv4Forwarding").size();
}

class Option121 : public testing::Test {
  protected:
    Option121() { gw.add("Routing.Router.1"); }

    void expectRoute(int entry, const std::string& destination, const std::string& mask, const std::string& gateway) {
        const std::string path = "Routing.Router.1.IPv4Forwarding." + std::to_string(entry) + ".";
        EXPECT_EQ(gw.get(path + "DestIPAddress"), destination);
        EXPECT_EQ(gw.get(path + "DestSubnetMask"), mask);
        EXPECT_EQ(gw.get(path + "GatewayIPAddress"), gateway);
    }

    Gateway gw;
};

TEST_F(Option121, OneRouteOfWidth24BecomesOneEntry) {
    apply("790818c0a801c0a80101");
    ASSERT_EQ(routeCount(), 1u);
    expectRoute(1, "192.168.1.0", "255.255.255.0", "192.168.1.1");
}

TEST_F(Option121, EntryHoldsWhatTheRoutingDaemonsNeed) {
    gw.add("Routing.Router.1.IPv4Forwarding.6");
    apply("790818c0a801c0a80101");
    EXPECT_EQ(gw.get("Routing.Router.1.IPv4Forwarding.7.Enable"), "true");
    EXPECT_EQ(gw.get("Routing.Router.1.IPv4Forwarding.7.Status"), "Enabled");
    EXPECT_EQ(gw.get("Routing.Router.1.IPv4Forwarding.7.Alias"), "OP121-7");
    EXPECT_EQ(gw.get("Routing.Router.1.IPv4Forwarding.7.ForwardingPolicy"), "7");
    EXPECT_EQ(gw.get("Routing.Router.1.IPv4Forwarding.7.Interface"), kWan);
    EXPECT_EQ(gw.get("Routing.Router.1.IPv4Forwarding.7.Origin"), "DHCP");
}

TEST_F(Option121, UpperCaseDigitsAreDigits) {
    apply("790818C0A801C0A80101");
    expectRoute(1, "192.168.1.0", "255.255.255.0", "192.168.1.1");
}

TEST_F(Option121, DefaultRouteIsSkippedAndTheNextDescriptorDecoded) {
    apply("790d00c0a8010118c0a802c0a80101");
    ASSERT_EQ(routeCount(), 1u);
    expectRoute(1, "192.168.2.0", "255.255.255.0", "192.168.1.1");
}

TEST_F(Option121, HostRouteHasTheFullMask) {
    apply("7909200a010203c0a80101");
    expectRoute(1, "10.1.2.3", "255.255.255.255", "192.168.1.1");
}

TEST_F(Option121, OddWidthTakesWholeOctetsAndMasksTheRest) {
    apply("7908140a0110c0a80101");
    expectRoute(1, "10.1.16.0", "255.255.240.0", "192.168.1.1");
}

TEST_F(Option121, EmptyValueDeletesTheInterfacesRoutes) {
    apply("790818c0a801c0a80101");
    apply("");
    EXPECT_EQ(routeCount(), 0u);
}

TEST_F(Option121, NewValueReplacesTheRoutesOfTheOldOne) {
    apply("790818c0a801c0a80101");
    apply("790818c0a805c0a80101");
    ASSERT_EQ(routeCount(), 1u);
    expectRoute(2 - 1, "192.168.5.0", "255.255.255.0", "192.168.1.1");
}

TEST_F(Option121, RoutesOfOthersStay) {
    gw.set("Routing.Router.1.IPv4Forwarding.1.Origin", "Static");
    gw.set("Routing.Router.1.IPv4Forwarding.1.Interface", kWan);
    gw.set("Routing.Router.1.IPv4Forwarding.1.DestIPAddress", "10.0.0.0");
    gw.set("Routing.Router.1.IPv4Forwarding.2.Origin", "DHCP");
    gw.set("Routing.Router.1.IPv4Forwarding.2.Interface", "IP.Interface.2");
    gw.set("Routing.Router.1.IPv4Forwarding.2.DestIPAddress", "10.0.0.0");
    gw.set("Routing.Router.1.IPv4Forwarding.3.Origin", "DHCP");
    gw.set("Routing.Router.1.IPv4Forwarding.3.Interface", kWan);
    gw.set("Routing.Router.1.IPv4Forwarding.4.Origin", "DHCP");
    gw.set("Routing.Router.1.IPv4Forwarding.4.Interface", kWan);
    gw.set("Routing.Router.1.IPv4Forwarding.4.DestIPAddress", "10.0.0.0");
    gw.set("Routing.Router.1.IPv4Forwarding.4.StaticRoute", "false");
    apply("");
    EXPECT_EQ(routeCount(), 4u);
}

TEST_F(Option121, SameRouteIsUpdatedNotDoubled) {
    gw.set("Routing.Router.1.IPv4Forwarding.1.Origin", "Static");
    gw.set("Routing.Router.1.IPv4Forwarding.1.Interface", kWan);
    gw.set("Routing.Router.1.IPv4Forwarding.1.DestIPAddress", "192.168.1.0");
    gw.set("Routing.Router.1.IPv4Forwarding.1.DestSubnetMask", "255.255.255.0");
    gw.set("Routing.Router.1.IPv4Forwarding.1.GatewayIPAddress", "192.168.1.1");
    apply("790818c0a801c0a80101");
    EXPECT_EQ(routeCount(), 1u);
    EXPECT_EQ(gw.get("Routing.Router.1.IPv4Forwarding.1.Origin"), "DHCP");
}

TEST_F(Option121, ExcludedEntryIsNotTheRoutesEntry) {
    gw.set("Routing.Router.1.IPv4Forwarding.1.X_VORAN_Excluded", "true");
    gw.set("Routing.Router.1.IPv4Forwarding.1.Interface", kWan);
    gw.set("Routing.Router.1.IPv4Forwarding.1.DestIPAddress", "192.168.1.0");
    gw.set("Routing.Router.1.IPv4Forwarding.1.DestSubnetMask", "255.255.255.0");
    gw.set("Routing.Router.1.IPv4Forwarding.1.GatewayIPAddress", "192.168.1.1");
    apply("790818c0a801c0a80101");
    EXPECT_EQ(routeCount(), 2u);
}

TEST_F(Option121, WidthAbove32EndsTheWalkWithOneLine) {
    apply("791118c0a801c0a801012118c0a802c0a80101");
    EXPECT_EQ(routeCount(), 1u);
    EXPECT_TRUE(gw.logged("syslog", 3,
                          "tarnWanDhcpcOption121Apply: bad route descriptor at byte 10 of option 121, ignoring it and "
                          "the rest"));
}

TEST_F(Option121, Width33IsRefusedWithAllItsOctetsThere) {
    apply("791218c0a801c0a80101210102030405c0a80101");
    EXPECT_EQ(routeCount(), 1u);
    EXPECT_TRUE(gw.loggedContaining("bad route descriptor at byte 10 of option 121"));
}

TEST_F(Option121, LengthPastTheEndKeepsTheRoutesBefore) {
    apply("79ff18c0a801c0a8010118c0a8");
    ASSERT_EQ(routeCount(), 1u);
    EXPECT_TRUE(gw.loggedContaining("bad route descriptor"));
}

TEST_F(Option121, DescriptorCutByTheStatedLengthIsRefused) {
    apply("790718c0a801c0a80101");
    EXPECT_EQ(routeCount(), 0u);
    EXPECT_TRUE(gw.loggedContaining("bad route descriptor"));
}

TEST_F(Option121, LoneLastDigitIsDropped) {
    apply("790818c0a801c0a801012");
    EXPECT_EQ(routeCount(), 1u);
    EXPECT_FALSE(gw.loggedContaining("bad route descriptor"));
}

TEST_F(Option121, TextEndsAtTheFirstPairThatIsNoNumber) {
    apply("790818c0a8zz01c0a80101");
    EXPECT_EQ(routeCount(), 0u);
}

TEST_F(Option121, NeighboursOfTheDigitsAreNone) {
    for (const char* pair : {":0", "0:", "/0", "0/", "`0", "g0", "@0", "G0"}) {
        apply("790818c0a8" + std::string(pair) + "01c0a80101");
        EXPECT_EQ(routeCount(), 0u) << pair;
    }
}

TEST_F(Option121, RefusedAddIsLoggedAndTheNextRouteTried) {
    gw.refuseWrite(inproc::Operation::Add, "Routing.Router.{i}.IPv4Forwarding.{i}");
    apply("791018c0a801c0a8010118c0a802c0a80101");
    EXPECT_EQ(routeCount(), 1u);
    EXPECT_TRUE(gw.logged("syslog", 3, "tarnWanDhcpcSRouteConfig: fail to add route instance with ret=-5"));
    EXPECT_TRUE(gw.logged("syslog", 3, "tarnWanDhcpcOption121Apply: fail to apply option121 with ret=-5"));
}

TEST_F(Option121, RefusedWriteIsLogged) {
    gw.refuseWrite(inproc::Operation::Set, "Routing.Router.{i}.IPv4Forwarding.{i}");
    apply("790818c0a801c0a80101");
    EXPECT_TRUE(gw.logged("syslog", 3, "tarnWanDhcpcSRouteConfig: fail to set route object with ret=-5"));
}

TEST_F(Option121, UnreadableNewEntryIsLogged) {
    gw.refuseWrite(inproc::Operation::Get, "Routing.Router.{i}.IPv4Forwarding.{i}");
    apply("790818c0a801c0a80101");
    EXPECT_TRUE(gw.logged("syslog", 3, "tarnWanDhcpcSRouteConfig: fail to get route object with ret=-5"));
}

TEST_F(Option121, RouteToDeleteThatIsMissingIsAnError) {
    EXPECT_EQ(tarnWanDhcpcSRouteConfig({"10.0.0.0", "255.0.0.0", "192.168.1.1", kWan}, false), VCFG_ERR_NOT_FOUND);
    EXPECT_TRUE(gw.logged("syslog", 3, "tarnWanDhcpcSRouteConfig: fail to find route object !!"));
}

TEST_F(Option121, DeletingARouteIsAnnouncedOnStandardOutput) {
    apply("790818c0a801c0a80101");
    EXPECT_EQ(tarnWanDhcpcSRouteConfig({"192.168.1.0", "255.255.255.0", "192.168.1.1", kWan}, false), 0);
    EXPECT_TRUE(gw.logged("stdout", "tarnWanDhcpcSRouteConfig: start to delete static route"));
    EXPECT_EQ(routeCount(), 0u);
}

TEST_F(Option121, RefusedDeleteIsLogged) {
    apply("790818c0a801c0a80101");
    gw.refuseWrite(inproc::Operation::Delete, "Routing.Router.{i}.IPv4Forwarding.{i}");
    EXPECT_EQ(tarnWanDhcpcSRouteConfig({"192.168.1.0", "255.255.255.0", "192.168.1.1", kWan}, false), -5);
    EXPECT_TRUE(gw.logged("syslog", 3, "tarnWanDhcpcSRouteConfig: fail to delete route object with ret=-5"));
}

TEST_F(Option121, WithoutTheAddFlagItsRoutesAreDeletedAndNoOther) {
    apply("791018c0a801c0a8010118c0a802c0a80101");
    tarnWanDhcpcOption121Apply(kWan, parseOption121Routes("790818c0a801c0a80101"), false);
    EXPECT_EQ(inproc::instancesOf("Routing.Router.1.IPv4Forwarding"),
              std::vector<std::string>{"Routing.Router.1.IPv4Forwarding.2"});
    EXPECT_TRUE(gw.logged("stdout", "tarnWanDhcpcSRouteConfig: start to delete static route"));
}

TEST_F(Option121, WithoutTheAddFlagAMissingRouteIsLoggedAndTheNextDeleted) {
    apply("790818c0a802c0a80101");
    tarnWanDhcpcOption121Apply(kWan, parseOption121Routes("791018c0a801c0a8010118c0a802c0a80101"), false);
    EXPECT_EQ(routeCount(), 0u);
    EXPECT_TRUE(gw.logged("syslog", 3, "tarnWanDhcpcSRouteConfig: fail to find route object !!"));
    EXPECT_TRUE(gw.logged("syslog", 3, "tarnWanDhcpcOption121Apply: fail to apply option121 with ret=-7"));
}

}  // namespace
