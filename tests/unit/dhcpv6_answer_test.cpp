#include <string>

#include "connection/dhcpv6_client.h"
#include "connection/pending_request.h"
#include "support/kit.h"

namespace {

using inproc::Operation;

constexpr Sender kPage{VCFG_EID_VHTTPD, 4242};

// Interfaces 1 to 4 are up; the reports come from the client of interface 4.
class Dhcpv6Answer : public testing::Test {
  protected:
    Dhcpv6Answer() {
        for (const char* instance : {"1", "2", "3", "4"}) {
            gw.set(std::string("IP.Interface.") + instance + ".Status", "Up");
        }
        gw.set("DHCPv6.Client.1.Interface", "IP.Interface.4");
        gw.set("DHCPv6.Client.1.X_VORAN_PidFile", "/run/4.pid");
    }

    void wait(uint8_t idx) { pending::record(kPage.eid, kPage.requestId, idx); }
    void report(const std::string& keys = "") {
        gw.receive(VCFG_MSG_DHCP6C, R"({"pidfile":"/run/4.pid")" + keys + "}");
    }
    void hasAddress(const std::string& interface) {
        const std::string path = "IP.Interface." + interface + ".IPv6Address.1";
        gw.set(path + ".Enable", "true");
        gw.set(path + ".Status", "Enabled");
        gw.set(path + ".IPAddress", "2001:db8::7");
    }
    void expectAnswered(const std::string& line) {
        EXPECT_TRUE(gw.logged("stdout", line));
        expectReply(gw, VCFG_MSG_WAN_REPLY, kPage);
        EXPECT_EQ(gw.replies().size(), 1u);
        EXPECT_FALSE(pending::peek());
    }
    void expectStillWaiting() {
        EXPECT_NO_REPLY(gw);
        EXPECT_TRUE(pending::peek());
    }

    Gateway gw;
};

TEST_F(Dhcpv6Answer, AssignedAddressAnswersTheWaitingInterface) {
    wait(4);
    report(R"(,"addrAssigned":true,"addr":"2001:db8::7")");
    expectAnswered("DHCP_BOUND with idx=4, send reply.");
}

TEST_F(Dhcpv6Answer, AssignedAddressAnswersTheLinkBelow) {
    gw.set("IP.Interface.4.LowerLayers", "PPP.Interface.2");
    wait(2);
    report(R"(,"addrAssigned":true,"addr":"2001:db8::7")");
    expectAnswered("PPP_CONNECTED with idx=2, send reply.");
}

TEST_F(Dhcpv6Answer, RequestIsAnsweredOnce) {
    wait(4);
    hasAddress("4");
    report();
    report();
    expectAnswered("DHCP_BOUND with idx=4, send reply.");
}

TEST_F(Dhcpv6Answer, NobodyWaitingIsNobodyAnswered) {
    hasAddress("4");
    report();
    EXPECT_NO_REPLY(gw);
}

TEST_F(Dhcpv6Answer, InterfaceWithoutAddressKeepsItsRequesterWaiting) {
    wait(4);
    report();
    expectStillWaiting();
}

TEST_F(Dhcpv6Answer, AddressMustBeEnabledAndNotEmpty) {
    wait(4);
    hasAddress("4");
    gw.set("IP.Interface.4.IPv6Address.1.Enable", "false");
    report();
    expectStillWaiting();
    gw.set("IP.Interface.4.IPv6Address.1.Enable", "true");
    gw.set("IP.Interface.4.IPv6Address.1.Status", "Disabled");
    report();
    expectStillWaiting();
    gw.set("IP.Interface.4.IPv6Address.1.Status", "Enabled");
    gw.set("IP.Interface.4.IPv6Address.1.IPAddress", "");
    report();
    expectStillWaiting();
}

TEST_F(Dhcpv6Answer, OnlyTheFirstAddressCounts) {
    wait(4);
    hasAddress("4");
    gw.set("IP.Interface.4.IPv6Address.1.Status", "Disabled");
    gw.set("IP.Interface.4.IPv6Address.2.Enable", "true");
    gw.set("IP.Interface.4.IPv6Address.2.Status", "Enabled");
    gw.set("IP.Interface.4.IPv6Address.2.IPAddress", "2001:db8::8");
    report();
    expectStillWaiting();
}

TEST_F(Dhcpv6Answer, AwaitedInterfaceThatIsNotUpIsNotAnswered) {
    wait(4);
    hasAddress("4");
    gw.set("IP.Interface.4.Status", "Down");
    report();
    expectStillWaiting();
}

TEST_F(Dhcpv6Answer, ReportOfADownInterfaceMayAnswerForAnother) {
    wait(2);
    hasAddress("2");
    gw.set("IP.Interface.4.Status", "Down");
    report(R"(,"addrAssigned":true,"addr":"2001:db8::7")");
    EXPECT_FALSE(gw.exists("IP.Interface.4.IPv6Address.1"));
    expectAnswered("DHCP_BOUND with idx=2, send reply.");
}

TEST_F(Dhcpv6Answer, UnknownClientsReportMayAnswer) {
    wait(2);
    hasAddress("2");
    EXPECT_EQ(processDhcp6cMsg(R"({"pidfile":"/run/unknown.pid"})"), VCFG_ERR_NOT_FOUND);
    expectAnswered("DHCP_BOUND with idx=2, send reply.");
}

TEST_F(Dhcpv6Answer, FailedAddressMayAnswer) {
    wait(2);
    hasAddress("2");
    gw.refuseWrite(Operation::Add, "IP.Interface.{i}.IPv6Address.{i}");
    EXPECT_EQ(processDhcp6cMsg(R"({"pidfile":"/run/4.pid","addrAssigned":true,"addr":"2001:db8::7"})"), VCFG_ERR_FAIL);
    expectAnswered("DHCP_BOUND with idx=2, send reply.");
}

TEST_F(Dhcpv6Answer, TimeoutAnswersNobody) {
    wait(2);
    hasAddress("2");
    report(R"(,"timeout":true)");
    EXPECT_EQ(processDhcp6cMsg(R"({"pidfile":"/run/unknown.pid","timeout":true})"), VCFG_ERR_NOT_FOUND);
    expectStillWaiting();
}

TEST_F(Dhcpv6Answer, LaterInterfaceWithAnAddressEndsTheWalkUnanswered) {
    gw.set("IP.Interface.4.LowerLayers", "PPP.Interface.2");
    wait(2);
    hasAddress("3");
    hasAddress("4");
    report();
    expectStillWaiting();
}

TEST_F(Dhcpv6Answer, EarlierInterfaceWithAnAddressDoesNotCount) {
    wait(2);
    hasAddress("1");
    report();
    expectStillWaiting();
}

TEST_F(Dhcpv6Answer, AwaitedInterfaceThatIsUpVouchesForTheDownLinkAfterIt) {
    gw.set("IP.Interface.3.LowerLayers", "PPP.Interface.2");
    gw.set("IP.Interface.3.Status", "Down");
    wait(2);
    hasAddress("3");
    report();
    expectAnswered("PPP_CONNECTED with idx=2, send reply.");
}

}  // namespace
