#include "dhcp_support.h"

#include "connection/dhcpv4_client.h"

namespace {

using inproc::Operation;
using Writes = std::vector<std::string>;

class DhcpOrder : public DhcpBase {};
class DhcpResult : public DhcpBase {};
class DhcpWriteMode : public DhcpBase {};

TEST_F(DhcpOrder, LeaseWritesOptionClient6rdAndAddress) {
    bound(R"(,"opt121":"790818c0a801c0a80101")");
    EXPECT_EQ(gw.writes(), (Writes{"set DHCPv4.Client.2.ReqOption.1", "set DHCPv4.Client.2",
                                   "set RouterAdvertisement.InterfaceSetting.1",
                                   R"(write IP.Interface.1 {"X_VORAN_6RD_LeaseTime":-1,"X_VORAN_6RD_Assigned":false})",
                                   "add IP.Interface.1.IPv4Address.1", "setAndWait IP.Interface.1.IPv4Address.1"}));
}

TEST_F(DhcpOrder, RenewalMakesTheRoutesAnewBeforeItWritesTheirOption) {
    gw.set("DHCPv4.Client.2.IPAddress", "192.0.2.99");
    renewed(R"(,"opt121":"790818c0a801c0a80101")");
    EXPECT_EQ(
        gw.writes(),
        (Writes{"add Routing.Router.1.IPv4Forwarding.1", "set Routing.Router.1.IPv4Forwarding.1",
                "set DHCPv4.Client.2.ReqOption.1", "set DHCPv4.Client.2", "set RouterAdvertisement.InterfaceSetting.1",
                R"(write IP.Interface.1 {"X_VORAN_6RD_LeaseTime":-1,"X_VORAN_6RD_Assigned":false})"}));
}

TEST_F(DhcpOrder, ReleaseWritesAddressOptionsClientAnd6rd) {
    bound();
    gw.forget();
    inproc::forgetWrites();
    released();
    EXPECT_EQ(gw.writes(),
              (Writes{"set IP.Interface.1.IPv4Address.1", "publish DHCPv4.Client.2.ReqOption.1", "set DHCPv4.Client.2",
                      "set RouterAdvertisement.InterfaceSetting.1",
                      R"(write IP.Interface.1 {"X_VORAN_6RD_LeaseTime":0,"X_VORAN_6RD_Assigned":false})"}));
}

TEST_F(DhcpResult, LeaseWhoseAddressCannotBeConfiguredFails) {
    EXPECT_EQ(processDhcpcMsg(lease().c_str(), VCFG_MSG_DHCPC_BOUND), VCFG_OK);
    gw.refuseWrite(Operation::SetAndWait, "IP.Interface.{i}.IPv4Address.{i}", 3);
    EXPECT_EQ(processDhcpcMsg(lease().c_str(), VCFG_MSG_DHCPC_BOUND), -5);
}

TEST_F(DhcpResult, LeaseWithoutAnAddressFails) {
    for (const char* ip : {"", R"("ip":"",)", R"("ip":null,)"}) {
        const std::string event = std::string("{") + ip + R"("addressAssigned":true,"pidfile":")" + kPid + "\"}";
        EXPECT_EQ(processDhcpcMsg(event.c_str(), VCFG_MSG_DHCPC_BOUND), -5) << ip;
    }
}

TEST_F(DhcpResult, EverythingElseReturnsZero) {
    EXPECT_EQ(processDhcpcMsg(lease().c_str(), VCFG_MSG_DHCPC_RENEWED), VCFG_OK);
    EXPECT_EQ(processDhcpcMsg("{}", VCFG_MSG_DHCPC_BOUND), VCFG_OK);
    gw.refuseWrite(Operation::Set, "DHCPv4.Client.{i}");
    EXPECT_EQ(processDhcpcMsg(lease().c_str(), VCFG_MSG_DHCPC_BOUND), VCFG_OK);
    gw.set("IP.Interface.1.Status", "Down");
    EXPECT_EQ(processDhcpcMsg(lease().c_str(), VCFG_MSG_DHCPC_BOUND), VCFG_OK);
}

TEST_F(DhcpWriteMode, The6rdParametersAreNotApplied) {
    inproc::ownerApplies("IP.Interface.{i}");
    bound(R"(,"v6rdAssigned":true,"v6Prefix":"2001:db8::","v6PrefixLen":32)");
    released();
    EXPECT_EQ(inproc::applied(), Writes{});
    EXPECT_EQ(interface("X_VORAN_6RD_LeaseTime"), "0");
}

TEST_F(DhcpWriteMode, EveryReleasedOptionIsOnlyPublished) {
    inproc::ownerApplies("DHCPv4.Client.{i}.ReqOption.{i}");
    gw.set("DHCPv4.Client.2.ReqOption.1.Value", "7900");
    gw.set("DHCPv4.Client.2.ReqOption.2.Value", "2b01");
    gw.set("DHCPv4.Client.2.ReqOption.3.Enable", "true");
    released();
    EXPECT_EQ(inproc::applied(), Writes{});
    for (const char* option : {"1", "2", "3"}) {
        const auto writes = gw.writes();
        const std::string line = std::string("publish DHCPv4.Client.2.ReqOption.") + option;
        EXPECT_EQ(std::count(writes.begin(), writes.end(), line), 1) << option;
    }
}

TEST_F(DhcpWriteMode, RefusedPublicationOfAnOptionIsIgnored) {
    gw.set("DHCPv4.Client.2.ReqOption.2.Value", "2b01");
    gw.refuseWrite(Operation::SetNoApply, "DHCPv4.Client.{i}.ReqOption.{i}");
    gw.forget();
    released();
    EXPECT_EQ(client("ReqOption.2.Value"), "");
    EXPECT_EQ(client("DHCPStatus"), "Release");
    EXPECT_FALSE(gw.loggedContaining("Set DHCPv4"));
}

}  // namespace
