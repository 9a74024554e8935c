#include <syslog.h>

#include <string>
#include <thread>

#include "connection/pending_request.h"
#include "connection/ppp.h"
#include "core/path.h"
#include "support/kit.h"

namespace {

using inproc::Operation;
using Writes = std::vector<std::string>;

constexpr Sender kPage{VCFG_EID_VHTTPD, 4242};
constexpr const char* kIpv4Up =
    R"({"linkname":"wan","state":"up","ip":"192.0.2.7","remote":"192.0.2.1","dns":"9.9.9.9 8.8.8.8"})";
constexpr const char* kIpv6Up = R"({"linkname":"wan","state":"up","type":"ipv6","local":"fe80::a","remote":"fe80::b"})";
constexpr const char* kIpv4Down = R"({"linkname":"wan","state":"down"})";
constexpr const char* kIpv6Down = R"({"linkname":"wan","state":"down","type":"ipv6"})";

// PPP interface 2 is the link "wan"; IP interface 4 lies on it. Interface 1 of each is somebody else's.
class PppBase : public testing::Test {
  protected:
    PppBase() {
        gw.set("PPP.Interface.1.ConnectionStatus", "Connecting");
        gw.set("PPP.Interface.2.X_VORAN_LinkName", "wan");
        gw.set("PPP.Interface.2.ConnectionStatus", "Connecting");
        gw.set("PPP.Interface.2.X_VORAN_ConnText", "pppoe-4011");
        gw.set("IP.Interface.1.LowerLayers", "PPP.Interface.22");
        gw.set("IP.Interface.1.IPv4Address.1.Status", "Enabled");
        gw.set("IP.Interface.4.LowerLayers", "PPP.Interface.2");
        gw.forget();
    }

    void report(const std::string& payload) { gw.receive(VCFG_MSG_PPPD, payload); }
    std::string link(const std::string& parameter) { return gw.get("PPP.Interface.2." + parameter); }
    std::string address(const std::string& parameter) { return gw.get("IP.Interface.4.IPv4Address.1." + parameter); }

    Gateway gw;
};

class PppSession : public PppBase {};
class PppIpv4Up : public PppBase {};
class PppIpv6Up : public PppBase {};
class PppDown : public PppBase {
  protected:
    PppDown() {
        for (const char* path : {"IP.Interface.4.IPv4Address.1", "IP.Interface.4.IPv6Address.1"}) {
            gw.set(std::string(path) + ".Enable", "true");
            gw.set(std::string(path) + ".Status", "Enabled");
        }
        gw.set("PPP.Interface.2.ConnectionStatus", "Connected");
        gw.forget();
    }
};
class PppAnswer : public PppBase {};

TEST_F(PppSession, IdIsPublishedWithoutApplying) {
    report(R"({"linkname":"wan","sessionID":"0x1a2b"})");
    EXPECT_EQ(gw.get("PPP.Interface.2.PPPoE.X_VORAN_SessionID"), "0x1a2b");
    EXPECT_EQ(gw.writes(), Writes{"publish PPP.Interface.2.PPPoE"});
}

TEST_F(PppSession, PresenceOfTheIdMakesItASessionReport) {
    report(R"({"linkname":"wan","sessionID":"1","state":"up","ip":"192.0.2.7"})");
    EXPECT_EQ(link("ConnectionStatus"), "Connecting");
    EXPECT_FALSE(gw.loggedContaining("state "));
}

TEST_F(PppSession, WithoutLinkNameIsIgnored) {
    report(R"({"sessionID":"0x1a2b"})");
    EXPECT_TRUE(gw.writes().empty());
    EXPECT_EQ(processPppdMsg(R"({"sessionID":"0x1a2b"})"), VCFG_OK);
}

TEST_F(PppSession, RefusedWriteIsIgnored) {
    gw.refuseWrite(Operation::SetNoApply, "PPP.Interface.{i}.PPPoE");
    EXPECT_EQ(processPppdMsg(R"({"linkname":"wan","sessionID":"1"})"), VCFG_OK);
}

TEST_F(PppIpv4Up, AnnouncesTheEventAndItsState) {
    report(kIpv4Up);
    EXPECT_TRUE(gw.logged("syslog", LOG_INFO, "processPppdMsg : Enter"));
    EXPECT_TRUE(gw.logged("syslog", LOG_INFO, "state up"));
}

TEST_F(PppIpv4Up, WritesTheNegotiatedAddresses) {
    report(kIpv4Up);
    EXPECT_EQ(gw.get("PPP.Interface.2.IPCP.LocalIPAddress"), "192.0.2.7");
    EXPECT_EQ(gw.get("PPP.Interface.2.IPCP.RemoteIPAddress"), "192.0.2.1");
    EXPECT_EQ(gw.get("PPP.Interface.2.IPCP.DNSServers"), "9.9.9.9 8.8.8.8");
    EXPECT_TRUE(gw.logged("stdout", "Set IPCP Object Success"));
    EXPECT_TRUE(gw.logged("stdout", "PPP.Interface.2 -- IP.Interface.4"));
}

TEST_F(PppIpv4Up, ConfiguresTheAddressOfTheInterfaceAbove) {
    report(kIpv4Up);
    EXPECT_EQ(address("Enable"), "true");
    EXPECT_EQ(address("Status"), "Enabled");
    EXPECT_EQ(address("IPAddress"), "192.0.2.7");
    EXPECT_EQ(address("SubnetMask"), "255.255.255.255");
    EXPECT_EQ(address("AddressingType"), "IPCP");
    EXPECT_EQ(address("X_VORAN_ConnText"), "pppoe-4011");
    EXPECT_EQ(link("ConnectionStatus"), "Connected");
}

TEST_F(PppIpv4Up, FirstUpWritesTheAddressWithoutBlocking) {
    report(kIpv4Up);
    EXPECT_EQ(gw.writes(), (Writes{"set PPP.Interface.2.IPCP", "add IP.Interface.4.IPv4Address.1",
                                   "publish IP.Interface.4.IPv4Address.1", "set PPP.Interface.2"}));
}

TEST_F(PppIpv4Up, SecondUpWaitsForTheAddress) {
    report(kIpv4Up);
    gw.forget();
    report(kIpv4Up);
    EXPECT_EQ(gw.writes(),
              (Writes{"set PPP.Interface.2.IPCP", "setAndWait IP.Interface.4.IPv4Address.1", "set PPP.Interface.2"}));
}

TEST_F(PppIpv4Up, SecondUpTriesTheAddressThreeTimes) {
    report(kIpv4Up);
    gw.forget();
    gw.refuseWrite(Operation::SetAndWait, "IP.Interface.{i}.IPv4Address.{i}", 3);
    EXPECT_EQ(processPppdMsg(kIpv4Up), VCFG_ERR_FAIL);
    EXPECT_EQ(gw.sleeps(), (std::vector<uint32_t>{10, 10}));
    EXPECT_TRUE(gw.logged("stdout", "Configure IPv4 Address Fail. In processPppdMsg"));
    EXPECT_EQ(gw.writes(), Writes{"set PPP.Interface.2.IPCP"});
}

TEST_F(PppIpv4Up, LinkThatNobodyConnectsChangesNothing) {
    for (const char* status : {"Disconnected", "", "Unconfigured", "Disconnecting"}) {
        gw.set("PPP.Interface.2.ConnectionStatus", status);
        gw.forget();
        report(kIpv4Up);
        report(kIpv6Up);
        EXPECT_TRUE(gw.writes().empty()) << status;
        EXPECT_EQ(processPppdMsg(kIpv4Up), VCFG_OK);
    }
}

TEST_F(PppIpv4Up, UnreadableLayerObjectEndsTheEvent) {
    gw.refuseWrite(Operation::Get, "PPP.Interface.{i}.IPCP");
    EXPECT_EQ(processPppdMsg(kIpv4Up), VCFG_ERR_FAIL);
    EXPECT_TRUE(gw.logged("syslog", LOG_ERR, "tarnIpcpObjSet : Can't get Device.PPP.Interface.i.IPCP"));
    EXPECT_TRUE(gw.logged("stdout", "Set IPCP Object fail"));
    EXPECT_TRUE(gw.writes().empty());
}

TEST_F(PppIpv4Up, LayerObjectThatIsNotWrittenIsAFailure) {
    const objIndex link{1, {2, 0, 0, 0, 0, 0}};
    gw.refuseWrite(Operation::Get, "PPP.Interface.{i}.IPCP");
    gw.refuseWrite(Operation::Get, "PPP.Interface.{i}.IPv6CP");
    EXPECT_EQ(tarnIpcpObjSet(link, "192.0.2.7", "192.0.2.1", ""), VCFG_ERR_FAIL);
    EXPECT_EQ(tarnIpv6cpObjSet(link, "::1", "::2"), VCFG_ERR_FAIL);
    gw.refuseWrite(Operation::Set, "PPP.Interface.{i}.IPCP");
    gw.refuseWrite(Operation::Set, "PPP.Interface.{i}.IPv6CP");
    EXPECT_EQ(tarnIpcpObjSet(link, "192.0.2.7", "192.0.2.1", ""), VCFG_ERR_FAIL);
    EXPECT_EQ(tarnIpv6cpObjSet(link, "::1", "::2"), VCFG_ERR_FAIL);
}

TEST_F(PppIpv4Up, NullLayerObjectIsToldAndEndsTheEvent) {
    inproc::nullRecord("PPP.Interface.{i}.IPCP");
    EXPECT_EQ(processPppdMsg(kIpv4Up), VCFG_ERR_FAIL);
    EXPECT_TRUE(gw.loggedContaining("Free NULL pointer. tarn_connection "));
    EXPECT_TRUE(gw.writes().empty());
}

TEST_F(PppIpv4Up, RefusedLayerObjectEndsTheEvent) {
    gw.refuseWrite(Operation::Set, "PPP.Interface.{i}.IPCP");
    EXPECT_EQ(processPppdMsg(kIpv4Up), VCFG_ERR_FAIL);
    EXPECT_TRUE(gw.logged("syslog", LOG_ERR, "tarnIpcpObjSet : Can't set Device.PPP.Interface.i.IPCP"));
    EXPECT_TRUE(gw.logged("stdout", "Set IPCP Object fail"));
    EXPECT_EQ(link("ConnectionStatus"), "Connecting");
}

TEST_F(PppIpv4Up, RefusedAddressEndsTheEventAndKeepsWhatWasWritten) {
    gw.refuseWrite(Operation::SetNoApply, "IP.Interface.{i}.IPv4Address.{i}");
    EXPECT_EQ(processPppdMsg(kIpv4Up), VCFG_ERR_FAIL);
    EXPECT_TRUE(gw.logged("stdout", "Configure IPv4 Address Fail. In processPppdMsg"));
    EXPECT_EQ(gw.get("PPP.Interface.2.IPCP.LocalIPAddress"), "192.0.2.7");
    EXPECT_EQ(link("ConnectionStatus"), "Connecting");
}

TEST_F(PppIpv4Up, RefusedLinkWriteEndsTheEventUnanswered) {
    pending::record(kPage.eid, kPage.requestId, 2);
    gw.refuseWrite(Operation::Set, "PPP.Interface.{i}");
    EXPECT_EQ(processPppdMsg(kIpv4Up), VCFG_ERR_FAIL);
    EXPECT_TRUE(gw.logged("syslog", LOG_ERR, "Set Device.PPP.Interface.i fail. In processPppdMsg"));
    EXPECT_EQ(address("IPAddress"), "192.0.2.7");
    EXPECT_NO_REPLY(gw);
}

TEST_F(PppIpv4Up, LinkWithoutAnIpInterfaceWritesWhatItCan) {
    gw.set("IP.Interface.4.LowerLayers", "");
    gw.forget();
    EXPECT_EQ(processPppdMsg(kIpv4Up), VCFG_OK);
    EXPECT_TRUE(gw.logged("stdout", "PPP.Interface.2 -- "));
    EXPECT_TRUE(gw.logged("syslog", LOG_ERR, "processPppdMsg : no IP interface lies on PPP.Interface.2"));
    EXPECT_EQ(gw.writes(), (Writes{"set PPP.Interface.2.IPCP", "set PPP.Interface.2"}));
}

TEST_F(PppIpv6Up, WritesTheInterfaceIdentifiers) {
    report(kIpv6Up);
    EXPECT_EQ(gw.get("PPP.Interface.2.IPv6CP.LocalInterfaceIdentifier"), "fe80::a");
    EXPECT_EQ(gw.get("PPP.Interface.2.IPv6CP.RemoteInterfaceIdentifier"), "fe80::b");
    EXPECT_TRUE(gw.logged("stdout", "Set IPv6CP Object Success"));
    EXPECT_TRUE(gw.logged("syslog", LOG_INFO, "PPP redial IPv6 without replug physical line"));
    EXPECT_EQ(link("ConnectionStatus"), "Connected");
}

TEST_F(PppIpv6Up, ForgetsTheRouterAndStopsTheDhcpv6Client) {
    gw.set("Routing.RouteInformation.InterfaceSetting.1.Interface", "IP.Interface.1");
    gw.set("Routing.RouteInformation.InterfaceSetting.2.Interface", "IP.Interface.4");
    gw.set("Routing.RouteInformation.InterfaceSetting.3.Interface", "IP.Interface.4");
    gw.set("DHCPv6.Client.1.Interface", "IP.Interface.1");
    gw.set("DHCPv6.Client.3.Interface", "IP.Interface.4");
    gw.set("DHCPv6.Client.3.Status", "Enabled");
    gw.forget();
    report(kIpv6Up);
    EXPECT_EQ(gw.writes(), (Writes{"set PPP.Interface.2.IPv6CP", "delete Routing.RouteInformation.InterfaceSetting.2",
                                   "set DHCPv6.Client.3", "set PPP.Interface.2"}));
    EXPECT_EQ(gw.get("DHCPv6.Client.3.Status"), "Disabled");
}

TEST_F(PppIpv6Up, UnreadableLayerObjectEndsTheEvent) {
    gw.refuseWrite(Operation::Get, "PPP.Interface.{i}.IPv6CP");
    EXPECT_EQ(processPppdMsg(kIpv6Up), VCFG_ERR_FAIL);
    EXPECT_TRUE(gw.logged("syslog", LOG_ERR, "tarnIpv6cpObjSet : Can't get Device.PPP.Interface.i.IPV6CP"));
    EXPECT_TRUE(gw.logged("stdout", "Set IPv6CP Object fail"));
}

TEST_F(PppIpv6Up, RefusedLayerObjectEndsTheEvent) {
    gw.refuseWrite(Operation::Set, "PPP.Interface.{i}.IPv6CP");
    EXPECT_EQ(processPppdMsg(kIpv6Up), VCFG_ERR_FAIL);
    EXPECT_TRUE(gw.logged("syslog", LOG_ERR, "tarnIpv6cpObjSet : Can't set Device.PPP.Interface.i.IPV6CP"));
    EXPECT_EQ(link("ConnectionStatus"), "Connecting");
}

TEST_F(PppIpv6Up, RefusedDeletionAndClientWriteDoNotStopTheEvent) {
    gw.set("Routing.RouteInformation.InterfaceSetting.2.Interface", "IP.Interface.4");
    gw.set("DHCPv6.Client.3.Interface", "IP.Interface.4");
    gw.refuseWrite(Operation::Delete, "Routing.RouteInformation.InterfaceSetting.{i}");
    gw.refuseWrite(Operation::Set, "DHCPv6.Client.{i}");
    EXPECT_EQ(processPppdMsg(kIpv6Up), VCFG_OK);
    EXPECT_TRUE(gw.logged("stdout", "Set DHCPv6 Client Fail"));
    EXPECT_EQ(link("ConnectionStatus"), "Connected");
}

TEST_F(PppIpv6Up, RefusedLinkWriteFailsTheEvent) {
    gw.refuseWrite(Operation::Set, "PPP.Interface.{i}");
    EXPECT_EQ(processPppdMsg(kIpv6Up), VCFG_ERR_FAIL);
    EXPECT_TRUE(gw.logged("syslog", LOG_ERR, "Set Device.PPP.Interface.i fail. In processPppdMsg"));
}

TEST_F(PppIpv6Up, LinkWithoutAnIpInterfaceIsConnectedAllTheSame) {
    gw.set("IP.Interface.4.LowerLayers", "");
    gw.forget();
    report(kIpv6Up);
    EXPECT_TRUE(gw.loggedContaining("no IP interface lies on PPP.Interface.2"));
    EXPECT_EQ(gw.writes(), (Writes{"set PPP.Interface.2.IPv6CP", "set PPP.Interface.2"}));
}

TEST_F(PppDown, Ipv4DownDisablesTheIpv4AddressOnly) {
    report(kIpv4Down);
    EXPECT_EQ(gw.writes(), Writes{"set IP.Interface.4.IPv4Address.1"});
    EXPECT_EQ(address("Status"), "Disabled");
    EXPECT_EQ(address("Enable"), "true");
}

TEST_F(PppDown, Ipv6DownDisablesTheIpv6AddressOnly) {
    report(kIpv6Down);
    EXPECT_EQ(gw.writes(), Writes{"set IP.Interface.4.IPv6Address.1"});
    EXPECT_EQ(gw.get("IP.Interface.4.IPv6Address.1.Status"), "Disabled");
}

TEST_F(PppDown, ConnectionStatusIsNotChanged) {
    report(kIpv4Down);
    report(kIpv6Down);
    EXPECT_EQ(link("ConnectionStatus"), "Connected");
}

TEST_F(PppDown, AnyOtherStateIsDown) {
    for (const char* state : {R"("UP")", R"("")", "null", "1", "{}"}) {
        gw.set("IP.Interface.4.IPv4Address.1.Status", "Enabled");
        report(std::string(R"({"linkname":"wan","state":)") + state + "}");
        EXPECT_EQ(address("Status"), "Disabled") << state;
    }
}

TEST_F(PppDown, AddressThatIsNotInUseIsLeftAlone) {
    gw.set("IP.Interface.4.IPv4Address.1.Enable", "false");
    gw.set("IP.Interface.4.IPv6Address.1.Status", "Error");
    gw.forget();
    report(kIpv4Down);
    report(kIpv6Down);
    EXPECT_TRUE(gw.writes().empty());
}

TEST_F(PppDown, RefusedIpv4WriteFailsTheEvent) {
    gw.refuseWrite(Operation::Set, "IP.Interface.{i}.IPv4Address.{i}");
    EXPECT_EQ(processPppdMsg(kIpv4Down), VCFG_ERR_FAIL);
    EXPECT_TRUE(gw.logged("stdout", "Can't set IP.Interface.i.IPv4Address.i. In processPppdMsg"));
}

TEST_F(PppDown, RefusedIpv6WriteFailsTheEventAndStillAnswers) {
    pending::record(kPage.eid, kPage.requestId, 2);
    gw.refuseWrite(Operation::Set, "IP.Interface.{i}.IPv6Address.{i}");
    EXPECT_EQ(processPppdMsg(kIpv6Down), VCFG_ERR_FAIL);
    EXPECT_TRUE(gw.logged("stdout", "Can't set IP.Interface.i.IPv6Address.i. In processPppdMsg"));
    expectReply(gw, VCFG_MSG_WAN_REPLY, kPage);
}

TEST_F(PppAnswer, Ipv4UpAnswersTheWaitingConnect) {
    pending::record(kPage.eid, kPage.requestId, 2);
    report(kIpv4Up);
    EXPECT_TRUE(gw.logged("stdout", "PPP_CONNECTED with idx=2, send reply."));
    expectReply(gw, VCFG_MSG_WAN_REPLY, kPage);
    EXPECT_FALSE(pending::peek());
}

TEST_F(PppAnswer, RequestIsAnsweredOnce) {
    pending::record(kPage.eid, kPage.requestId, 2);
    report(kIpv4Up);
    report(kIpv4Up);
    EXPECT_EQ(gw.replies().size(), 1u);
}

TEST_F(PppAnswer, Ipv4UpWithIpv6EnabledLeavesTheAnswerToTheIpv6Side) {
    gw.set("PPP.Interface.2.IPv6CPEnable", "true");
    pending::record(kPage.eid, kPage.requestId, 2);
    report(kIpv4Up);
    report(kIpv6Up);
    EXPECT_NO_REPLY(gw);
    EXPECT_TRUE(pending::peek());
}

TEST_F(PppAnswer, AnotherConnectionsRequestIsLeftWaiting) {
    pending::record(kPage.eid, kPage.requestId, 1);
    report(kIpv4Up);
    report(kIpv6Down);
    EXPECT_NO_REPLY(gw);
    EXPECT_TRUE(pending::peek());
}

TEST_F(PppAnswer, Ipv4DownAnswersNoDisconnectAndIpv6DownDoes) {
    pending::record(kPage.eid, kPage.requestId, 2);
    report(kIpv4Down);
    EXPECT_NO_REPLY(gw);
    report(kIpv6Down);
    EXPECT_TRUE(gw.logged("stdout", "PPP_DISCONNECTED with idx=2, send reply."));
    expectReply(gw, VCFG_MSG_WAN_REPLY, kPage);
    EXPECT_FALSE(pending::peek());
}

TEST_F(PppAnswer, OfTwoReportersAtOnceExactlyOneAnswers) {
    for (size_t round = 1; round <= 20; ++round) {
        pending::record(kPage.eid, kPage.requestId, 2);
        std::thread ground([] { processPppdMsg(kIpv6Down); });
        processPppdMsg(kIpv6Down);
        ground.join();
        ASSERT_EQ(gw.replies().size(), round);
    }
}

}  // namespace
