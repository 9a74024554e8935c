#include <syslog.h>

#include <csignal>
#include <string>

#include "connection/pending_request.h"
#include "connection/wan_commands.h"
#include "core/path.h"
#include "support/kit.h"

namespace {

using inproc::Operation;
using Signals = std::vector<std::pair<pid_t, int>>;

constexpr const char* kPidFile = "/var/run/udhcpc-wan.pid";
constexpr pid_t kClient = 321;
constexpr Sender kPage{VCFG_EID_VHTTPD, 4242};

class WanCommandLease : public testing::Test {
  protected:
    WanCommandLease() {
        gw.set("IP.Interface.3.Status", "Up");
        gw.set("DHCPv4.Client.2.X_VORAN_PidFile", kPidFile);
        gw.set("DHCPv4.Client.2.Interface", "IP.Interface.3");
        gw.set("DHCPv4.Client.2.DHCPStatus", "Bound");
        gw.set("DHCPv4.Client.2.Status", "Disabled");
        gw.file(kPidFile, "321\n");
        gw.process(kClient);
        gw.forget();
    }

    void dualStack() {
        gw.set("IP.Interface.3.IPv6Enable", "true");
        gw.set("IP.Interface.3.IPv6Address.1.Enable", "true");
        gw.set("IP.Interface.3.IPv6Address.1.Status", "Enabled");
        gw.forget();
    }
    void renew() { gw.receiveEmpty(VCFG_MSG_WAN_IP_RENEW, kPage, instanceId({2})); }
    void release() { gw.receiveEmpty(VCFG_MSG_WAN_IP_RELEASE, kPage, instanceId({2})); }

    Gateway gw;
};

class WanCommandClientProcess : public WanCommandLease {};
class WanCommandDualStack : public WanCommandLease {
  protected:
    WanCommandDualStack() { dualStack(); }
};

TEST_F(WanCommandLease, RenewSignalsTheClientAndWaits) {
    renew();
    EXPECT_EQ(gw.signals(), (Signals{{kClient, SIGUSR1}}));
    EXPECT_TRUE(gw.logged("stdout", "Do Renew with idx=2"));
    EXPECT_NO_REPLY(gw);
    EXPECT_TRUE(gw.writes().empty());
    ASSERT_TRUE(pending::peek());
    EXPECT_EQ(pending::peek()->idx, 2);
    EXPECT_EQ(pending::peek()->handle, kPage.requestId);
}

TEST_F(WanCommandLease, ReleaseSignalsTheClientAndWaits) {
    release();
    EXPECT_EQ(gw.signals(), (Signals{{kClient, SIGUSR2}}));
    EXPECT_TRUE(gw.logged("stdout", "Do Release with idx=2"));
    EXPECT_NO_REPLY(gw);
    ASSERT_TRUE(pending::peek());
    EXPECT_EQ(pending::peek()->idx, 2);
}

TEST_F(WanCommandLease, RenewIsAnsweredByTheLeaseThatFollows) {
    renew();
    gw.receive(VCFG_MSG_DHCPC_BOUND,
               std::string(R"({"addressAssigned":true,"ip":"192.0.2.9","subnet":"255.255.255.0",)") + R"("pidfile":")" +
                   kPidFile + "\"}");
    expectReply(gw, VCFG_MSG_WAN_REPLY, kPage);
    EXPECT_FALSE(pending::peek());
}

TEST_F(WanCommandLease, UnreadableClientIsAnsweredAtOnce) {
    gw.receiveEmpty(VCFG_MSG_WAN_IP_RENEW, kPage, instanceId({9}));
    EXPECT_TRUE(gw.logged("syslog", LOG_ERR, "tarnWanIpRenew : Can not get DHCPV4 CLIENT Instance"));
    expectReply(gw, VCFG_MSG_WAN_REPLY, kPage);
    EXPECT_TRUE(gw.signals().empty());
    EXPECT_EQ(tarnWanIpRenew(instanceId({9}), false, kPage.eid, 1), VCFG_ERR_FAIL);
}

TEST_F(WanCommandDualStack, ClientOfNoInterfaceIsAskedByItsProcess) {
    for (const char* path : {"", "IP.Interface.0", "IP.Interface.256", "IP.Interface.-3", "IP.Interface.99999999999",
                             "IP.Interface.3.IPv4Address.1", "IP.Interface.77"}) {
        gw.forget();
        gw.set("DHCPv4.Client.2.Interface", path);
        renew();
        EXPECT_EQ(gw.signals(), (Signals{{kClient, SIGUSR1}})) << path;
    }
}

TEST_F(WanCommandClientProcess, MissingPidFileIsAnsweredAtOnceAndSignalsNothing) {
    gw.set("DHCPv4.Client.2.X_VORAN_PidFile", "/var/run/missing.pid");
    renew();
    expectReply(gw, VCFG_MSG_WAN_REPLY, kPage);
    EXPECT_TRUE(gw.signals().empty());
    EXPECT_FALSE(pending::peek());
}

TEST_F(WanCommandClientProcess, UnsetPidFileIsAnsweredAtOnce) {
    gw.set("DHCPv4.Client.2.X_VORAN_PidFile", "");
    release();
    expectReply(gw, VCFG_MSG_WAN_REPLY, kPage);
    EXPECT_TRUE(gw.signals().empty());
}

TEST_F(WanCommandClientProcess, PidFileWithoutANumberAboveZeroIsAnsweredAtOnce) {
    for (const char* content : {"", "\n", "udhcpc", "0", "-1", "-321", "-99999999999999999999"}) {
        gw.forget();
        gw.file(kPidFile, content);
        renew();
        expectReply(gw, VCFG_MSG_WAN_REPLY, kPage);
        EXPECT_TRUE(gw.signals().empty()) << content;
        EXPECT_FALSE(pending::peek()) << content;
    }
}

TEST_F(WanCommandClientProcess, NumberBehindBlanksAndBeforeTextIsRead) {
    gw.file(kPidFile, "  321 udhcpc\n");
    renew();
    EXPECT_EQ(gw.signals(), (Signals{{kClient, SIGUSR1}}));
}

TEST_F(WanCommandClientProcess, ProcessThatIsNoClientGetsNoSignalAndTheRequesterWaits) {
    for (const char* content : {"1", "4711"}) {
        gw.forget();
        pending::clear();
        gw.file(kPidFile, content);
        renew();
        EXPECT_TRUE(gw.signals().empty()) << content;
        EXPECT_TRUE(
            gw.logged("syslog", LOG_ERR,
                      std::string("signalClient : process ") + content + " is no DHCP client, it gets no signal"));
        EXPECT_TRUE(gw.logged("stdout", "Do Renew with idx=2"));
        EXPECT_NO_REPLY(gw);
        EXPECT_TRUE(pending::peek());
    }
}

TEST_F(WanCommandClientProcess, ThreadOfTheDaemonGetsNoSignal) {
    gw.file(kPidFile, "4713");
    gw.process(4713);
    gw.file("/proc/self/task/4713/comm", "tarn\n");
    release();
    EXPECT_TRUE(gw.signals().empty());
    EXPECT_TRUE(gw.loggedContaining("process 4713 is no DHCP client"));
}

TEST_F(WanCommandClientProcess, DeadProcessGetsNoSignalAndTheRequesterWaits) {
    gw.process(kClient, false);
    renew();
    EXPECT_TRUE(gw.signals().empty());
    EXPECT_TRUE(
        gw.logged("syslog", LOG_ERR, "signalClient : process 321 does not take the signal, it is no live process"));
    EXPECT_NO_REPLY(gw);
    EXPECT_TRUE(pending::peek());
}

TEST_F(WanCommandClientProcess, HugeNumberIsNoLiveProcess) {
    gw.file(kPidFile, "99999999999999999999999999");
    renew();
    EXPECT_TRUE(gw.signals().empty());
    EXPECT_TRUE(gw.loggedContaining("it is no live process"));
    EXPECT_TRUE(pending::peek());
}

TEST_F(WanCommandClientProcess, ClientsThatShareAPidFileShareTheSignalButNotTheRecord) {
    gw.set("IP.Interface.4.Status", "Up");
    gw.set("DHCPv4.Client.5.X_VORAN_PidFile", kPidFile);
    gw.set("DHCPv4.Client.5.Interface", "IP.Interface.4");
    gw.receiveEmpty(VCFG_MSG_WAN_IP_RENEW, kPage, instanceId({5}));
    EXPECT_EQ(gw.signals(), (Signals{{kClient, SIGUSR1}}));
    ASSERT_TRUE(pending::peek());
    EXPECT_EQ(pending::peek()->idx, 5);
}

TEST_F(WanCommandDualStack, RenewBringsTheInterfaceUpAndWaits) {
    gw.set("IP.Interface.3.Status", "LowerLayerDown");
    renew();
    EXPECT_EQ(gw.get("IP.Interface.3.Status"), "Up");
    EXPECT_EQ(gw.writes(), std::vector<std::string>{"set IP.Interface.3"});
    EXPECT_TRUE(gw.logged("stdout", "tarnWanIpRenew Set IP Interface Success "));
    EXPECT_NO_REPLY(gw);
    EXPECT_TRUE(gw.signals().empty());
    ASSERT_TRUE(pending::peek());
    EXPECT_EQ(pending::peek()->idx, 3);
}

TEST_F(WanCommandDualStack, ReleaseTakesTheInterfaceDownAndAnswersAtOnce) {
    release();
    EXPECT_EQ(gw.get("IP.Interface.3.Status"), "LowerLayerDown");
    EXPECT_EQ(gw.get("IP.Interface.3.IPv6Address.1.Status"), "Disabled");
    EXPECT_EQ(gw.get("DHCPv4.Client.2.Status"), "Enabled");
    EXPECT_EQ(gw.get("DHCPv4.Client.2.DHCPStatus"), "Release");
    EXPECT_TRUE(gw.logged("stdout", "DHCP_Release with idx=3, send reply."));
    expectReply(gw, VCFG_MSG_WAN_REPLY, kPage);
    EXPECT_TRUE(gw.signals().empty());
    EXPECT_FALSE(pending::peek());
}

TEST_F(WanCommandDualStack, ReleaseWritesAddressThenClientThenInterface) {
    release();
    EXPECT_EQ(gw.writes(), (std::vector<std::string>{"set IP.Interface.3.IPv6Address.1", "set DHCPv4.Client.2",
                                                     "set IP.Interface.3"}));
}

TEST_F(WanCommandDualStack, ReleaseWritesTheInterfacesFirstClientWhicheverWasNamed) {
    gw.set("DHCPv4.Client.1.Interface", "IP.Interface.3");
    gw.set("DHCPv4.Client.1.DHCPStatus", "Bound");
    release();
    EXPECT_EQ(gw.get("DHCPv4.Client.1.Status"), "Enabled");
    EXPECT_EQ(gw.get("DHCPv4.Client.1.DHCPStatus"), "Release");
    EXPECT_EQ(gw.get("DHCPv4.Client.2.Status"), "Disabled");
    EXPECT_EQ(gw.get("DHCPv4.Client.2.DHCPStatus"), "Bound");
    EXPECT_TRUE(gw.logged("stdout", "DHCP_Release with idx=3, send reply."));
}

TEST_F(WanCommandDualStack, ReleaseLeavesAnAddressThatIsNotInUseAlone) {
    gw.set("IP.Interface.3.IPv6Address.1.Enable", "false");
    release();
    EXPECT_EQ(gw.get("IP.Interface.3.IPv6Address.1.Status"), "Enabled");
}

TEST_F(WanCommandDualStack, ReleaseWithoutAnAddressIsAnswered) {
    gw.set("IP.Interface.4.IPv6Enable", "true");
    gw.set("DHCPv4.Client.2.Interface", "IP.Interface.4");
    release();
    EXPECT_TRUE(gw.logged("stdout", "DHCP_Release with idx=4, send reply."));
    expectReply(gw, VCFG_MSG_WAN_REPLY, kPage);
}

TEST_F(WanCommandDualStack, RefusedAddressAndClientWritesDoNotStopTheRelease) {
    gw.refuseWrite(Operation::Set, "IP.Interface.{i}.IPv6Address.{i}");
    gw.refuseWrite(Operation::Set, "DHCPv4.Client.{i}");
    release();
    EXPECT_TRUE(gw.logged("stdout", "Can't set IP.Interface.i.IPv6Address.i. In tarnWanIpRenew"));
    EXPECT_TRUE(gw.logged("syslog", LOG_ERR, "tarnWanIpRenew : Set DHCPv4 Client fail"));
    EXPECT_EQ(gw.get("IP.Interface.3.Status"), "LowerLayerDown");
    expectReply(gw, VCFG_MSG_WAN_REPLY, kPage);
}

TEST_F(WanCommandDualStack, RefusedInterfaceWriteRecordsAndAnswersNobody) {
    for (const uint32_t type : {VCFG_MSG_WAN_IP_RENEW, VCFG_MSG_WAN_IP_RELEASE}) {
        gw.refuseWrite(Operation::Set, "IP.Interface.{i}");
        gw.receiveEmpty(type, kPage, instanceId({2}));
        EXPECT_NO_REPLY(gw);
        EXPECT_TRUE(
            gw.logged("vlog", VLOG_ERROR, "IP.Interface.3 refused its new Status, its requester is not answered"));
        EXPECT_FALSE(pending::peek());
        EXPECT_FALSE(gw.loggedContaining("Set IP Interface Success"));
    }
}

TEST_F(WanCommandLease, RestartOfTheClientsChangesNothing) {
    gw.receiveEmpty(VCFG_MSG_DHCPC_RESTART);
    EXPECT_EQ(restartDhcpc(), VCFG_OK);
    EXPECT_TRUE(gw.writes().empty());
    EXPECT_TRUE(gw.commands().empty());
}

TEST_F(WanCommandLease, SetDhcpClientEnablesAndDisablesTheInterfacesClient) {
    EXPECT_TRUE(setDhcpClient(RDM_OID_DHCPV4_CLIENT, "IP.Interface.3", true));
    EXPECT_EQ(gw.get("DHCPv4.Client.2.Status"), "Enabled");
    EXPECT_EQ(gw.get("DHCPv4.Client.2.DHCPStatus"), "");
    EXPECT_TRUE(setDhcpClient(RDM_OID_DHCPV4_CLIENT, "IP.Interface.3", false));
    EXPECT_EQ(gw.get("DHCPv4.Client.2.Status"), "Disabled");
}

TEST_F(WanCommandLease, SetDhcpClientFindsOnlyTheInterfacesClient) {
    EXPECT_FALSE(setDhcpClient(RDM_OID_DHCPV4_CLIENT, "IP.Interface.33", true));
    EXPECT_FALSE(setDhcpClient(RDM_OID_DHCPV6_CLIENT, "IP.Interface.3", true));
    EXPECT_TRUE(gw.writes().empty());
}

TEST_F(WanCommandLease, SetDhcpClientFindsTheClientAlsoWhenItsWriteIsRefused) {
    gw.refuseWrite(Operation::Set, "DHCPv4.Client.{i}");
    EXPECT_TRUE(setDhcpClient(RDM_OID_DHCPV4_CLIENT, "IP.Interface.3", true));
    EXPECT_TRUE(gw.logged("syslog", LOG_ERR, "setDhcpClient : Set DHCPv4 Client fail"));
}

}  // namespace
