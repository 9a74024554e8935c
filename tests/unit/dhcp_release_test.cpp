#include "dhcp_support.h"

namespace {

using inproc::Operation;

class DhcpRelease : public DhcpBase {};

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

TEST_F(DhcpRelease, AsksNeitherForTheInterfacesStatusNorForItsIpv6) {
    bound();
    gw.set("IP.Interface.1.Status", "Down");
    gw.set("IP.Interface.1.IPv6Enable", "true");
    pending::record(kHttpd.eid, kHttpd.requestId, 2);
    released();
    EXPECT_EQ(address("Status"), "Disabled");
    EXPECT_EQ(client("DHCPStatus"), "Release");
    EXPECT_EQ(interface("X_VORAN_6RD_LeaseTime"), "0");
    expectReply(gw, VCFG_MSG_WAN_REPLY, kHttpd);
}

}  // namespace
