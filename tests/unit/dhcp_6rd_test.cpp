#include "connection/dhcpv4_client.h"
#include "core/json.h"
#include "dhcp_support.h"

namespace {

using inproc::Operation;

class Dhcp6rd : public DhcpBase {};

TEST_F(Dhcp6rd, AssignedParametersReachTheInterface) {
    bound(
        R"(,"lease":3600,"v6rdAssigned":true,"v4MaskLen":8,"v6PrefixLen":32,"v6Prefix":"2001:db8::","brAddr":"192.0.2.7")");
    EXPECT_EQ(interface("X_VORAN_6RD_LeaseTime"), "3600");
    EXPECT_EQ(interface("X_VORAN_6RD_Assigned"), "true");
    EXPECT_EQ(interface("X_VORAN_IPv4MaskLength"), "8");
    EXPECT_EQ(interface("X_VORAN_SPIPv6Prefix"), "2001:db8::/32");
    EXPECT_EQ(interface("X_VORAN_BorderRelayIPv4Addresses"), "192.0.2.7");
}

TEST_F(Dhcp6rd, OfAnInterfaceThatCannotBeReadIsToldAndWritesNothing) {
    tarnSet6rdInfo({1, {9, 0, 0, 0, 0, 0}}, Json::parse(R"({"v6rdAssigned":true})"), true);
    EXPECT_TRUE(gw.logged("stdout", "tarnSet6rdInfo : Get IP Interface fail"));
    EXPECT_TRUE(gw.writes().empty());
}

TEST_F(Dhcp6rd, MissingPrefixGivesAnEmptyText) {
    gw.set("IP.Interface.1.X_VORAN_SPIPv6Prefix", "2001:db8::/32");
    bound(R"(,"v6rdAssigned":true,"v6PrefixLen":32)");
    EXPECT_EQ(interface("X_VORAN_SPIPv6Prefix"), "");
}

TEST_F(Dhcp6rd, MissingMaskLengthAndRelayKeepTheirParameters) {
    gw.set("IP.Interface.1.X_VORAN_IPv4MaskLength", "12");
    gw.set("IP.Interface.1.X_VORAN_BorderRelayIPv4Addresses", "192.0.2.9");
    bound(R"(,"v6rdAssigned":true,"v6Prefix":"2001:db8::","v6PrefixLen":32)");
    EXPECT_EQ(interface("X_VORAN_IPv4MaskLength"), "12");
    EXPECT_EQ(interface("X_VORAN_BorderRelayIPv4Addresses"), "192.0.2.9");
}

TEST_F(Dhcp6rd, WithoutLeaseTimeAnAssignedAddressGivesMinusOne) {
    bound();
    EXPECT_EQ(interface("X_VORAN_6RD_LeaseTime"), "-1");
}

TEST_F(Dhcp6rd, LeaseWithoutEndIsWrittenAsItCame) {
    bound(R"(,"lease":4294967295,"v6rdAssigned":true,"v4MaskLen":8)");
    EXPECT_EQ(interface("X_VORAN_6RD_LeaseTime"), "4294967295");
    EXPECT_EQ(interface("X_VORAN_IPv4MaskLength"), "8");
    EXPECT_FALSE(gw.loggedContaining("Set IP Interface fail"));
}

TEST_F(Dhcp6rd, ReleaseGivesLeaseTimeZero) {
    bound();
    released();
    EXPECT_EQ(interface("X_VORAN_6RD_LeaseTime"), "0");
    EXPECT_EQ(interface("X_VORAN_6RD_Assigned"), "false");
}

TEST_F(Dhcp6rd, UnassignedClearsTheParametersWhenTheyComeFromDhcp) {
    gw.set("IP.Interface.1.X_VORAN_6RD_Mode", "dhcp");
    gw.set("IP.Interface.1.X_VORAN_IPv4MaskLength", "12");
    gw.set("IP.Interface.1.X_VORAN_SPIPv6Prefix", "2001:db8::/32");
    gw.set("IP.Interface.1.X_VORAN_BorderRelayIPv4Addresses", "192.0.2.9");
    bound();
    EXPECT_EQ(interface("X_VORAN_IPv4MaskLength"), "0");
    EXPECT_EQ(interface("X_VORAN_SPIPv6Prefix"), "");
    EXPECT_EQ(interface("X_VORAN_BorderRelayIPv4Addresses"), "");
}

TEST_F(Dhcp6rd, UnassignedKeepsParametersConfiguredByHand) {
    gw.set("IP.Interface.1.X_VORAN_6RD_Mode", "static");
    gw.set("IP.Interface.1.X_VORAN_IPv4MaskLength", "12");
    bound();
    EXPECT_EQ(interface("X_VORAN_IPv4MaskLength"), "12");
    EXPECT_EQ(interface("X_VORAN_6RD_Assigned"), "false");
}

TEST_F(Dhcp6rd, UnassignedRebuildsTheRouterAdvertisements) {
    bound();
    const auto writes = gw.writes();
    EXPECT_NE(std::find(writes.begin(), writes.end(), "set RouterAdvertisement.InterfaceSetting.1"), writes.end());
}

TEST_F(Dhcp6rd, AssignedLeavesTheRouterAdvertisementsAlone) {
    bound(R"(,"v6rdAssigned":true)");
    const auto writes = gw.writes();
    EXPECT_EQ(std::find(writes.begin(), writes.end(), "set RouterAdvertisement.InterfaceSetting.1"), writes.end());
}

TEST_F(Dhcp6rd, MissingRouterAdvertisementSettingIsPrinted) {
    gw.refuseWrite(Operation::Get, "RouterAdvertisement.InterfaceSetting.{i}");
    bound();
    EXPECT_TRUE(gw.logged("stdout", "tarnSet6rdInfo : Get RA Interface fail"));
    gw.refuseWrite(Operation::Set, "RouterAdvertisement.InterfaceSetting.{i}");
    bound();
    EXPECT_TRUE(gw.logged("stdout", "tarnSet6rdInfo : Set RA Interface fail"));
}

TEST_F(Dhcp6rd, RefusedWriteIsLoggedAndTheAddressStillConfigured) {
    gw.refuseWrite(Operation::Write, "IP.Interface.{i}");
    bound();
    EXPECT_TRUE(gw.logged("syslog", 3, "tarnSet6rdInfo : Set IP Interface fail"));
    EXPECT_EQ(address("IPAddress"), "192.0.2.10");
}

TEST_F(Dhcp6rd, WrongTypesAreRefusedWhole) {
    gw.set("IP.Interface.1.X_VORAN_IPv4MaskLength", "12");
    bound(R"(,"v6rdAssigned":true,"v4MaskLen":[1],"lease":{"a":1})");
    EXPECT_TRUE(gw.logged("syslog", 3, "tarnSet6rdInfo : Set IP Interface fail"));
    EXPECT_EQ(interface("X_VORAN_IPv4MaskLength"), "12");
    EXPECT_EQ(interface("X_VORAN_6RD_Assigned"), "false");
}

}  // namespace
