#include "dhcp_support.h"

namespace {

using inproc::Operation;

class DhcpOption : public DhcpBase {};

TEST_F(DhcpOption, EnabledOptionTakesTheKeyNamedByItsAlias) {
    bound(R"(,"opt121":"790818c0a801c0a80101")");
    EXPECT_EQ(client("ReqOption.1.Value"), "790818c0a801c0a80101");
}

TEST_F(DhcpOption, DisabledOptionIsSkipped) {
    gw.set("DHCPv4.Client.2.ReqOption.2.Alias", "opt43");
    gw.set("DHCPv4.Client.2.ReqOption.2.Value", "2b01");
    bound(R"(,"opt43":"2b0102")");
    EXPECT_EQ(client("ReqOption.2.Value"), "2b01");
}

TEST_F(DhcpOption, MissingKeyEmptiesTheValue) {
    gw.set("DHCPv4.Client.2.ReqOption.2.Enable", "true");
    gw.set("DHCPv4.Client.2.ReqOption.2.Alias", "opt43");
    gw.set("DHCPv4.Client.2.ReqOption.2.Value", "2b01");
    bound();
    EXPECT_EQ(client("ReqOption.2.Value"), "");
}

TEST_F(DhcpOption, ValueIsCutTo512Characters) {
    gw.set("DHCPv4.Client.2.ReqOption.2.Enable", "true");
    gw.set("DHCPv4.Client.2.ReqOption.2.Alias", "opt43");
    bound(",\"opt43\":\"" + std::string(600, 'a') + "\"");
    EXPECT_EQ(client("ReqOption.2.Value"), std::string(512, 'a'));
}

TEST_F(DhcpOption, NewRoutesOfAFreshLeaseAreNotBuiltHere) {
    bound(R"(,"opt121":"790818c0a801c0a80101")");
    EXPECT_EQ(routes(), 0u);
}

TEST_F(DhcpOption, ChangedRoutesOfARenewalAreBuilt) {
    bound(R"(,"opt121":"790818c0a801c0a80101")");
    gw.set("DHCPv4.Client.2.IPAddress", "192.0.2.99");
    renewed(R"(,"opt121":"790818c0a802c0a80101")");
    ASSERT_EQ(routes(), 1u);
    EXPECT_EQ(gw.get("Routing.Router.1.IPv4Forwarding.1.DestIPAddress"), "192.168.2.0");
}

TEST_F(DhcpOption, UnchangedRoutesOfARenewalAreLeftAlone) {
    bound(R"(,"opt121":"790818c0a801c0a80101")");
    gw.set("DHCPv4.Client.2.IPAddress", "192.0.2.99");
    renewed(R"(,"opt121":"790818c0a801c0a80101")");
    EXPECT_EQ(routes(), 0u);
}

class DhcpRoutesDisappear : public DhcpBase, public testing::WithParamInterface<uint32_t> {};

TEST_P(DhcpRoutesDisappear, RemovesTheRoutes) {
    bound(R"(,"opt121":"790818c0a801c0a80101")");
    gw.set("DHCPv4.Client.2.IPAddress", "192.0.2.99");
    renewed(R"(,"opt121":"790818c0a802c0a80101")");
    ASSERT_EQ(routes(), 1u);
    gw.set("DHCPv4.Client.2.IPAddress", "192.0.2.98");
    gw.receive(GetParam(), lease());
    EXPECT_EQ(routes(), 0u);
    EXPECT_EQ(client("ReqOption.1.Value"), "");
}

INSTANTIATE_TEST_SUITE_P(OnBoundAsOnRenewal, DhcpRoutesDisappear,
                         testing::Values(VCFG_MSG_DHCPC_OPTION, VCFG_MSG_DHCPC_BOUND, VCFG_MSG_DHCPC_RENEWED));

TEST_F(DhcpOption, RefusedWriteIsLoggedWithItsCode) {
    gw.refuseWrite(Operation::Set, "DHCPv4.Client.{i}.ReqOption.{i}");
    bound();
    EXPECT_TRUE(gw.logged("syslog", 3, "processDhcpcMsg : Set DHCPv4 Request Options fail with ret=-5"));
    EXPECT_EQ(client("DHCPStatus"), "Bound");
}

TEST_F(DhcpOption, MissingRoutesThatWereAlreadyEmptyTouchNoRoute) {
    gw.set("Routing.Router.1.IPv4Forwarding.1.Origin", "DHCP");
    gw.set("Routing.Router.1.IPv4Forwarding.1.Interface", "IP.Interface.1");
    gw.set("Routing.Router.1.IPv4Forwarding.1.DestIPAddress", "10.0.0.0");
    gw.set("DHCPv4.Client.2.IPAddress", "192.0.2.99");
    renewed();
    bound();
    EXPECT_EQ(routes(), 1u);
}

}  // namespace
