#include <algorithm>
#include <string>

#include "connection/pending_request.h"
#include "support/kit.h"

namespace {

using inproc::Operation;

constexpr const char* kPid = "/var/run/udhcpc-wan.pid";
constexpr Sender kHttpd{VCFG_EID_VHTTPD, 4242};

std::string lease(const std::string& more = "") {
    return std::string(R"({"addressAssigned":true,"pidfile":")") + kPid +
           R"(","ip":"192.0.2.10","subnet":"255.255.255.0","router":"192.0.2.1","dns":"192.0.2.53 192.0.2.54")" + more +
           "}";
}

class DhcpBase : public testing::Test {
  protected:
    DhcpBase() {
        gw.set("IP.Interface.1.Status", "Up");
        gw.set("IP.Interface.2.Status", "Up");
        gw.set("DHCPv4.Client.1.X_VORAN_PidFile", "/var/run/other.pid");
        gw.set("DHCPv4.Client.1.Interface", "IP.Interface.2");
        gw.set("DHCPv4.Client.2.X_VORAN_PidFile", kPid);
        gw.set("DHCPv4.Client.2.Interface", "IP.Interface.1");
        gw.set("DHCPv4.Client.2.ReqOption.1.Enable", "true");
        gw.set("DHCPv4.Client.2.ReqOption.1.Tag", "121");
        gw.set("DHCPv4.Client.2.ReqOption.1.Alias", "opt121");
        gw.add("Routing.Router.1");
        gw.add("RouterAdvertisement.InterfaceSetting.1");
        gw.forget();
    }

    void bound(const std::string& more = "") { gw.receive(VCFG_MSG_DHCPC_OPTION, lease(more)); }
    void renewed(const std::string& more = "") { gw.receive(VCFG_MSG_DHCPC_RENEWED, lease(more)); }
    void released() {
        gw.receive(VCFG_MSG_DHCPC_OPTION, std::string(R"({"addressAssigned":false,"pidfile":")") + kPid + "\"}");
    }
    std::string client(const std::string& parameter) { return gw.get("DHCPv4.Client.2." + parameter); }
    std::string address(const std::string& parameter) { return gw.get("IP.Interface.1.IPv4Address.1." + parameter); }
    std::string interface(const std::string& parameter) { return gw.get("IP.Interface.1." + parameter); }
    size_t routes() { return inproc::instancesOf("Routing.Router.1.IPv4Forwarding").size(); }

    Gateway gw;
};

class DhcpLease : public DhcpBase {};
class DhcpOption : public DhcpBase {};
class DhcpRelease : public DhcpBase {};
class DhcpAnswer : public DhcpBase {};
class Dhcp6rd : public DhcpBase {};
class DhcpBadInput : public DhcpBase {};

TEST_F(DhcpLease, BoundWritesTheClient) {
    bound();
    EXPECT_EQ(client("DHCPStatus"), "Bound");
    EXPECT_EQ(client("IPAddress"), "192.0.2.10");
    EXPECT_EQ(client("SubnetMask"), "255.255.255.0");
    EXPECT_EQ(client("IPRouters"), "192.0.2.1");
    EXPECT_EQ(client("DNSServers"), "192.0.2.53,192.0.2.54");
}

TEST_F(DhcpLease, BoundConfiguresTheInterfacesFirstAddress) {
    bound();
    EXPECT_EQ(address("Enable"), "true");
    EXPECT_EQ(address("Status"), "Enabled");
    EXPECT_EQ(address("IPAddress"), "192.0.2.10");
    EXPECT_EQ(address("SubnetMask"), "255.255.255.0");
    EXPECT_EQ(address("AddressingType"), "DHCP");
    EXPECT_EQ(address("X_VORAN_ConnText"), "");
}

TEST_F(DhcpLease, BoundReusesTheFirstAddress) {
    gw.set("IP.Interface.1.IPv4Address.3.IPAddress", "10.0.0.1");
    bound();
    EXPECT_EQ(gw.get("IP.Interface.1.IPv4Address.3.IPAddress"), "192.0.2.10");
    EXPECT_EQ(inproc::instancesOf("IP.Interface.1.IPv4Address").size(), 1u);
}

TEST_F(DhcpLease, BoundAnnouncesItselfInTheSystemLog) {
    bound();
    EXPECT_TRUE(gw.logged("syslog", 6, "processDhcpcMsg : Enter"));
    EXPECT_TRUE(gw.logged("syslog", 6, "DHCPC Option " + lease()));
}

TEST_F(DhcpLease, BothLeaseTypesMeanBound) {
    gw.receive(VCFG_MSG_DHCPC_BOUND, lease());
    EXPECT_EQ(client("DHCPStatus"), "Bound");
}

TEST_F(DhcpLease, OneDnsServerStaysAsItIs) {
    gw.receive(
        VCFG_MSG_DHCPC_OPTION,
        std::string(R"({"addressAssigned":true,"ip":"192.0.2.10","dns":"192.0.2.53","pidfile":")") + kPid + "\"}");
    EXPECT_EQ(client("DNSServers"), "192.0.2.53");
}

TEST_F(DhcpLease, ThirdDnsServerIsNotTaken) {
    gw.receive(
        VCFG_MSG_DHCPC_OPTION,
        std::string(R"({"addressAssigned":true,"ip":"192.0.2.10","dns":"192.0.2.1 192.0.2.2 192.0.2.3","pidfile":")") +
            kPid + "\"}");
    EXPECT_EQ(client("DNSServers"), "192.0.2.1,192.0.2.2");
}

TEST_F(DhcpLease, MissingKeysKeepTheirParameters) {
    gw.set("DHCPv4.Client.2.IPRouters", "198.51.100.1");
    gw.set("DHCPv4.Client.2.DNSServers", "198.51.100.53");
    gw.receive(VCFG_MSG_DHCPC_OPTION,
               std::string(R"({"addressAssigned":true,"ip":"192.0.2.10","pidfile":")") + kPid + "\"}");
    EXPECT_EQ(client("IPRouters"), "198.51.100.1");
    EXPECT_EQ(client("DNSServers"), "198.51.100.53");
}

TEST_F(DhcpLease, RenewalWithUnchangedAddressWritesNothing) {
    bound();
    gw.forget();
    renewed(R"(,"opt121":"790818c0a801c0a80101")");
    EXPECT_TRUE(gw.writes().empty());
    EXPECT_EQ(client("DHCPStatus"), "Bound");
}

TEST_F(DhcpLease, RenewalWithAnotherAddressWritesTheClientButNotTheInterfacesAddress) {
    gw.set("DHCPv4.Client.2.IPAddress", "192.0.2.99");
    renewed();
    EXPECT_EQ(client("DHCPStatus"), "Renewing");
    EXPECT_EQ(client("IPAddress"), "192.0.2.10");
    EXPECT_FALSE(gw.exists("IP.Interface.1.IPv4Address.1"));
}

TEST_F(DhcpLease, InterfaceThatIsNotUpWritesNothingAndSendsNoReply) {
    gw.set("IP.Interface.1.Status", "Down");
    pending::record(kHttpd.eid, kHttpd.requestId, 2);
    gw.forget();
    bound();
    EXPECT_TRUE(gw.writes().empty());
    EXPECT_NO_REPLY(gw);
    EXPECT_TRUE(gw.logged("syslog", 3, "processDhcpcMsg : IP.Interface.1 is not activated"));
}

TEST_F(DhcpLease, InterfaceThatCannotBeReadIsNotActivated) {
    gw.set("DHCPv4.Client.2.Interface", "IP.Interface.9");
    gw.forget();
    bound();
    EXPECT_TRUE(gw.writes().empty());
    EXPECT_TRUE(gw.logged("syslog", 3, "processDhcpcMsg : IP.Interface.9 is not activated"));
}

TEST_F(DhcpLease, UnknownPidFileWritesNothing) {
    gw.receive(VCFG_MSG_DHCPC_OPTION, R"({"addressAssigned":true,"ip":"192.0.2.10","pidfile":"/var/run/nobody.pid"})");
    EXPECT_TRUE(gw.writes().empty());
}

TEST_F(DhcpLease, RefusedClientWriteIsLoggedAndTheAddressStillConfigured) {
    gw.refuseWrite(Operation::Set, "DHCPv4.Client.{i}");
    bound();
    EXPECT_TRUE(gw.logged("syslog", 3, "processDhcpcMsg : Set DHCPv4 Client fail"));
    EXPECT_EQ(address("IPAddress"), "192.0.2.10");
}

TEST_F(DhcpLease, AddressWriteIsTriedThreeTimesTenMillisecondsApart) {
    gw.refuseWrite(Operation::SetAndWait, "IP.Interface.{i}.IPv4Address.{i}", 2);
    bound();
    EXPECT_EQ(address("IPAddress"), "192.0.2.10");
    EXPECT_EQ(gw.sleeps(), (std::vector<uint32_t>{10, 10}));
    EXPECT_TRUE(gw.logged("stdout", "tarnSetIpv4Addr RDM_OID_IP_IFACE_V4_ADDR set fail, try again 1"));
    EXPECT_TRUE(gw.logged("stdout", "tarnSetIpv4Addr RDM_OID_IP_IFACE_V4_ADDR set fail, try again 2"));
}

TEST_F(DhcpLease, FourthAddressWriteIsNeverMadeAndNoReplySent) {
    pending::record(kHttpd.eid, kHttpd.requestId, 2);
    gw.refuseWrite(Operation::SetAndWait, "IP.Interface.{i}.IPv4Address.{i}", 3);
    bound();
    EXPECT_EQ(address("IPAddress"), "");
    EXPECT_EQ(gw.sleeps().size(), 2u);
    EXPECT_TRUE(gw.logged("syslog", 3, "tarnSetIpv4Addr : Can't set IPv4Address.i"));
    EXPECT_TRUE(gw.logged("syslog", 3, "processDhcpcMsg : Configure IPv4 Address Fail"));
    EXPECT_NO_REPLY(gw);
}

TEST_F(DhcpLease, RefusedAddOfTheAddressEndsTheLease) {
    gw.refuseWrite(Operation::Add, "IP.Interface.{i}.IPv4Address.{i}");
    bound();
    EXPECT_TRUE(gw.logged("syslog", 3, "tarnAddIpv4Addr : Add IPv4 Address Fail"));
    EXPECT_TRUE(gw.logged("syslog", 3, "processDhcpcMsg : Configure IPv4 Address Fail"));
}

TEST_F(DhcpLease, UnreadableNewAddressEndsTheLease) {
    gw.refuseWrite(Operation::Get, "IP.Interface.{i}.IPv4Address.{i}");
    bound();
    EXPECT_TRUE(gw.logged("syslog", 3, "tarnSetIpv4Addr : Can't get IPv4Address.i"));
    EXPECT_TRUE(gw.logged("syslog", 3, "processDhcpcMsg : Configure IPv4 Address Fail"));
}

TEST_F(DhcpLease, LeaseWithoutAddressEndsAsAFailedConfiguration) {
    pending::record(kHttpd.eid, kHttpd.requestId, 2);
    gw.receive(VCFG_MSG_DHCPC_OPTION, std::string(R"({"addressAssigned":true,"pidfile":")") + kPid + "\"}");
    EXPECT_EQ(client("DHCPStatus"), "Bound");
    EXPECT_FALSE(gw.exists("IP.Interface.1.IPv4Address.1"));
    EXPECT_TRUE(gw.logged("syslog", 3, "processDhcpcMsg : Configure IPv4 Address Fail"));
    EXPECT_NO_REPLY(gw);
}

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

TEST_F(DhcpRelease, DisablesTheAddressAndKeepsItsTexts) {
    bound();
    released();
    EXPECT_EQ(address("Status"), "Disabled");
    EXPECT_EQ(address("IPAddress"), "192.0.2.10");
    EXPECT_EQ(address("SubnetMask"), "255.255.255.0");
    EXPECT_EQ(client("DHCPStatus"), "Release");
    EXPECT_TRUE(gw.logged("syslog", 6, "processDhcpcMsg : set dhcpv4Client->DHCPStatus = TR181_DHCP_Release"));
}

TEST_F(DhcpRelease, AbsentAddressAssignedMeansReleased) {
    bound();
    gw.receive(VCFG_MSG_DHCPC_RENEWED, std::string(R"({"pidfile":")") + kPid + "\"}");
    EXPECT_EQ(client("DHCPStatus"), "Release");
}

TEST_F(DhcpRelease, EmptiesEveryOptionWithoutApply) {
    gw.set("DHCPv4.Client.2.ReqOption.1.Value", "7900");
    gw.set("DHCPv4.Client.2.ReqOption.2.Value", "2b01");
    gw.forget();
    released();
    EXPECT_EQ(client("ReqOption.1.Value"), "");
    EXPECT_EQ(client("ReqOption.2.Value"), "");
    EXPECT_EQ(gw.writes().front(), "publish DHCPv4.Client.2.ReqOption.1");
}

TEST_F(DhcpRelease, ClientWithoutInterfaceIsLeftAlone) {
    gw.set("DHCPv4.Client.2.Interface", "");
    gw.forget();
    released();
    EXPECT_TRUE(gw.writes().empty());
}

TEST_F(DhcpRelease, DisabledAddressIsNotWritten) {
    gw.set("IP.Interface.1.IPv4Address.1.Enable", "false");
    gw.set("IP.Interface.1.IPv4Address.1.Status", "Enabled");
    released();
    EXPECT_EQ(address("Status"), "Enabled");
}

TEST_F(DhcpRelease, RefusedAddressWriteIsLoggedAndTheRestDone) {
    bound();
    gw.refuseWrite(Operation::Set, "IP.Interface.{i}.IPv4Address.{i}");
    released();
    EXPECT_TRUE(gw.logged("syslog", 3, "processDhcpcMsg : Can't set IP.Interface.i.IPv4Address.i"));
    EXPECT_EQ(client("DHCPStatus"), "Release");
}

TEST_F(DhcpRelease, AnswersTheWaitingRequester) {
    pending::record(kHttpd.eid, kHttpd.requestId, 2);
    released();
    expectReply(gw, VCFG_MSG_WAN_REPLY, kHttpd);
    EXPECT_TRUE(gw.logged("stdout", "DHCP_Release with idx=2, send reply."));
    EXPECT_FALSE(pending::peek());
}

TEST_F(DhcpAnswer, BoundAnswersTheRequesterOfThisClient) {
    pending::record(kHttpd.eid, kHttpd.requestId, 2);
    bound();
    expectReply(gw, VCFG_MSG_WAN_REPLY, kHttpd);
    EXPECT_EQ(gw.replies()[0].length, 1);
    EXPECT_EQ(gw.replies()[0].statCode, 0u);
    EXPECT_TRUE(gw.logged("stdout", "DHCP_BOUND with idx=2, send reply."));
    EXPECT_FALSE(pending::peek());
}

TEST_F(DhcpAnswer, RequesterOfAnotherConnectionGoesOnWaiting) {
    pending::record(kHttpd.eid, kHttpd.requestId, 1);
    bound();
    EXPECT_NO_REPLY(gw);
    EXPECT_TRUE(pending::peek());
}

TEST_F(DhcpAnswer, WithIpv6OnTheInterfaceTheReplyIsLeftToTheIpv6Side) {
    gw.set("IP.Interface.1.IPv6Enable", "true");
    pending::record(kHttpd.eid, kHttpd.requestId, 2);
    bound();
    EXPECT_NO_REPLY(gw);
    EXPECT_TRUE(pending::peek());
}

TEST_F(DhcpAnswer, RequestIsAnsweredOnce) {
    pending::record(kHttpd.eid, kHttpd.requestId, 2);
    bound();
    bound();
    EXPECT_EQ(gw.replies().size(), 1u);
}

TEST_F(Dhcp6rd, AssignedParametersReachTheInterface) {
    bound(
        R"(,"lease":3600,"v6rdAssigned":true,"v4MaskLen":8,"v6PrefixLen":32,"v6Prefix":"2001:db8::","brAddr":"192.0.2.7")");
    EXPECT_EQ(interface("X_VORAN_6RD_LeaseTime"), "3600");
    EXPECT_EQ(interface("X_VORAN_6RD_Assigned"), "true");
    EXPECT_EQ(interface("X_VORAN_IPv4MaskLength"), "8");
    EXPECT_EQ(interface("X_VORAN_SPIPv6Prefix"), "2001:db8::/32");
    EXPECT_EQ(interface("X_VORAN_BorderRelayIPv4Addresses"), "192.0.2.7");
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

TEST_F(DhcpBadInput, AddressThatIsNoneIsRefusedByTheModelAndLogged) {
    gw.receive(VCFG_MSG_DHCPC_OPTION,
               std::string(R"({"addressAssigned":true,"ip":"192.0.2.999","subnet":"255.255.255.0","pidfile":")") +
                   kPid + "\"}");
    EXPECT_EQ(client("IPAddress"), "");
    EXPECT_EQ(client("DHCPStatus"), "");
    EXPECT_EQ(address("IPAddress"), "");
    EXPECT_TRUE(gw.logged("syslog", 3, "processDhcpcMsg : Set DHCPv4 Client fail"));
    EXPECT_TRUE(gw.logged("syslog", 3, "processDhcpcMsg : Configure IPv4 Address Fail"));
}

TEST_F(DhcpBadInput, OverlongAddressIsNotCutToAnother) {
    gw.receive(VCFG_MSG_DHCPC_OPTION,
               std::string(R"({"addressAssigned":true,"ip":"192.168.100.1000","pidfile":")") + kPid + "\"}");
    EXPECT_EQ(client("IPAddress"), "");
    EXPECT_EQ(address("IPAddress"), "");
}

class DhcpHostilePayload : public DhcpBase, public testing::WithParamInterface<std::string> {};

TEST_P(DhcpHostilePayload, ChangesNothing) {
    gw.receiveBytes(VCFG_MSG_DHCPC_OPTION, GetParam());
    EXPECT_TRUE(gw.writes().empty());
    EXPECT_TRUE(gw.commands().empty());
}

INSTANTIATE_TEST_SUITE_P(Payloads, DhcpHostilePayload,
                         testing::Values("not json", "[]", "5", "\"text\"", "{", "null", std::string("\0", 1),
                                         std::string("{}\0{}", 5), "{}", R"({"addressAssigned":true})",
                                         R"({"addressAssigned":true,"pidfile":null})",
                                         R"({"addressAssigned":true,"pidfile":{"a":1}})",
                                         R"({"addressAssigned":true,"pidfile":""})", std::string(10000, '['),
                                         std::string(10000, '{'), "{\"pidfile\":\"" + std::string(60000, 'x') + "\"}"));

TEST_F(DhcpBadInput, PayloadThatIsNoObjectGivesOneLine) {
    gw.receive(VCFG_MSG_DHCPC_OPTION, "not json");
    EXPECT_TRUE(gw.logged("syslog", 3, "processDhcpcMsg : the payload is not a JSON object"));
}

TEST_F(DhcpBadInput, MissingPayloadSkipsTheHandler) {
    gw.receiveEmpty(VCFG_MSG_DHCPC_OPTION);
    EXPECT_TRUE(gw.logged("syslog", 6, "DHCPC Option (null)"));
    EXPECT_FALSE(gw.logged("syslog", 6, "processDhcpcMsg : Enter"));
}

TEST_F(DhcpBadInput, InterfacePathWithABadNumberIsNotActivated) {
    for (const char* path :
         {"IP.Interface.0", "IP.Interface.256", "IP.Interface.-1", "IP.Interface.99999999999", "x"}) {
        gw.set("DHCPv4.Client.2.Interface", path);
        gw.forget();
        bound();
        EXPECT_TRUE(gw.writes().empty()) << path;
        EXPECT_TRUE(gw.logged("syslog", 3, "processDhcpcMsg : IP.Interface.0 is not activated")) << path;
    }
}

TEST_F(DhcpBadInput, NullRecordOfASuccessfulReadIsNamedAndSkipped) {
    inproc::nullRecord("DHCPv4.Client.{i}");
    bound();
    EXPECT_TRUE(gw.loggedContaining("Free NULL pointer. tarn_connection "));
}

}  // namespace
