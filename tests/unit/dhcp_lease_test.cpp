#include "dhcp_support.h"

namespace {

using inproc::Operation;

class DhcpLease : public DhcpBase {};
class DhcpAnswer : public DhcpBase {};

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

TEST_F(DhcpLease, UnknownClientWritesNothingAndLogsOneLine) {
    for (const char* pidFile : {"", R"(,"pidfile":"")", R"(,"pidfile":null)", R"(,"pidfile":"/var/run/nobody.pid")"}) {
        for (const char* assigned : {"true", "false"}) {
            gw.forget();
            gw.receive(VCFG_MSG_DHCPC_OPTION,
                       std::string(R"({"ip":"192.0.2.10","addressAssigned":)") + assigned + pidFile + "}");
            EXPECT_TRUE(gw.writes().empty()) << pidFile;
            const auto log = gw.log();
            EXPECT_EQ(std::count_if(log.begin(), log.end(), [](const LogLine& line) { return line.level == 3; }), 1);
            EXPECT_TRUE(gw.loggedContaining("processDhcpcMsg : no DHCPv4 client has the pid file \"")) << pidFile;
        }
    }
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

TEST_F(DhcpAnswer, RenewalWithAnotherAddressAnswersToo) {
    gw.set("DHCPv4.Client.2.IPAddress", "192.0.2.99");
    pending::record(kHttpd.eid, kHttpd.requestId, 2);
    renewed();
    expectReply(gw, VCFG_MSG_WAN_REPLY, kHttpd);
    EXPECT_TRUE(gw.logged("stdout", "DHCP_BOUND with idx=2, send reply."));
}

TEST_F(DhcpAnswer, RenewalWithTheSameAddressAnswersNobody) {
    bound();
    pending::record(kHttpd.eid, kHttpd.requestId, 2);
    renewed();
    EXPECT_NO_REPLY(gw);
}

}  // namespace
