#include <syslog.h>

#include <string>

#include "connection/pending_request.h"
#include "connection/wan_commands.h"
#include "core/path.h"
#include "support/kit.h"

namespace {

using inproc::Operation;

constexpr Sender kPage{VCFG_EID_VHTTPD, 4242};
constexpr Sender kAgent{VCFG_EID_TR069, 99};

class WanCommandPpp : public testing::Test {
  protected:
    WanCommandPpp() {
        gw.set("PPP.Interface.2.X_VORAN_LinkName", "ppp-wan");
        gw.set("PPP.Interface.2.ConnectionStatus", "Connected");
        gw.set("PPP.Interface.1.ConnectionStatus", "Connected");
        gw.forget();
    }

    void connect(Sender from = kPage) { gw.receiveEmpty(VCFG_MSG_WAN_PPP_CONNECT, from, instanceId({2})); }
    void disconnect(Sender from = kPage) { gw.receiveEmpty(VCFG_MSG_WAN_PPP_DISCONNECT, from, instanceId({2})); }
    std::string status() { return gw.get("PPP.Interface.2.ConnectionStatus"); }

    Gateway gw;
};

TEST_F(WanCommandPpp, ConnectSetsConnectingAndWaits) {
    connect();
    EXPECT_EQ(status(), "Connecting");
    EXPECT_EQ(gw.writes(), std::vector<std::string>{"set PPP.Interface.2"});
    EXPECT_TRUE(gw.logged("stdout", "Do connect with idx=2"));
    EXPECT_NO_REPLY(gw);
    const auto waiting = pending::peek();
    ASSERT_TRUE(waiting);
    EXPECT_EQ(waiting->requester, kPage.eid);
    EXPECT_EQ(waiting->handle, kPage.requestId);
    EXPECT_EQ(waiting->idx, 2);
}

TEST_F(WanCommandPpp, DisconnectWithoutIpv6IsAnsweredAtOnce) {
    disconnect();
    EXPECT_EQ(status(), "Disconnected");
    EXPECT_TRUE(gw.logged("stdout", "PPP_DISCONNECTED with idx=2, send reply."));
    expectReply(gw, VCFG_MSG_WAN_REPLY, kPage);
    EXPECT_FALSE(pending::peek());
}

TEST_F(WanCommandPpp, ReplyHasNoPayloadAndNoError) {
    disconnect();
    ASSERT_EQ(gw.replies().size(), 1u);
    EXPECT_EQ(gw.replies()[0].length, 1);
    EXPECT_EQ(gw.replies()[0].statCode, 0u);
    EXPECT_EQ(gw.replies()[0].objIid.level, 0);
}

TEST_F(WanCommandPpp, DisconnectWithIpv6WaitsForTheIpv6Layer) {
    gw.set("PPP.Interface.2.IPv6CPEnable", "true");
    disconnect();
    EXPECT_EQ(status(), "Disconnected");
    EXPECT_TRUE(gw.logged("stdout", "Do disconnect with idx=2"));
    EXPECT_NO_REPLY(gw);
    ASSERT_TRUE(pending::peek());
    EXPECT_EQ(pending::peek()->idx, 2);
}

TEST_F(WanCommandPpp, DisconnectWithIpv6IsAnsweredWhenTheIpv6LayerIsDown) {
    gw.set("PPP.Interface.2.IPv6CPEnable", "true");
    disconnect();
    gw.receive(VCFG_MSG_PPPD, R"({"linkname":"ppp-wan","state":"down"})");
    EXPECT_NO_REPLY(gw);
    gw.receive(VCFG_MSG_PPPD, R"({"linkname":"ppp-wan","state":"down","type":"ipv6"})");
    expectReply(gw, VCFG_MSG_WAN_REPLY, kPage);
    EXPECT_FALSE(pending::peek());
}

TEST_F(WanCommandPpp, SecondCommandReplacesTheFirstRequester) {
    gw.set("IP.Interface.1.LowerLayers", "PPP.Interface.2");
    connect(kPage);
    connect(kAgent);
    gw.receive(VCFG_MSG_PPPD, R"({"linkname":"ppp-wan","state":"up","ip":"192.0.2.7"})");
    ASSERT_EQ(gw.replies().size(), 1u);
    expectReply(gw, VCFG_MSG_WAN_REPLY, kAgent);
}

TEST_F(WanCommandPpp, CommandAnsweredAtOnceLeavesTheOlderRecordAlone) {
    gw.set("PPP.Interface.1.X_VORAN_LinkName", "other");
    gw.receiveEmpty(VCFG_MSG_WAN_PPP_CONNECT, kAgent, instanceId({1}));
    disconnect(kPage);
    expectReply(gw, VCFG_MSG_WAN_REPLY, kPage);
    ASSERT_TRUE(pending::peek());
    EXPECT_EQ(pending::peek()->requester, kAgent.eid);
}

TEST_F(WanCommandPpp, UnreadableLinkIsAnsweredAtOnce) {
    for (const uint32_t type : {VCFG_MSG_WAN_PPP_CONNECT, VCFG_MSG_WAN_PPP_DISCONNECT}) {
        gw.forget();
        gw.receiveEmpty(type, kPage, instanceId({7}));
        EXPECT_TRUE(gw.logged("syslog", LOG_ERR, "tarnWanPppConnect : Can not get WAN PPP Connection Instance"));
        expectReply(gw, VCFG_MSG_WAN_REPLY, kPage);
        EXPECT_TRUE(gw.writes().empty());
    }
    EXPECT_EQ(tarnWanPppConnect(instanceId({7}), true, kPage.eid, 1), VCFG_ERR_FAIL);
}

TEST_F(WanCommandPpp, CommandWithoutAnInstanceIsAnsweredAtOnce) {
    gw.receiveEmpty(VCFG_MSG_WAN_PPP_CONNECT, kPage);
    expectReply(gw, VCFG_MSG_WAN_REPLY, kPage);
    EXPECT_TRUE(gw.writes().empty());
}

TEST_F(WanCommandPpp, InstanceIdThatLiesIsAnsweredAtOnce) {
    objIndex tooDeep{};
    tooDeep.level = 200;
    tooDeep.idx[0] = 2;
    gw.receiveEmpty(VCFG_MSG_WAN_PPP_CONNECT, kPage, tooDeep);
    expectReply(gw, VCFG_MSG_WAN_REPLY, kPage);
    EXPECT_TRUE(gw.writes().empty());
}

TEST_F(WanCommandPpp, RefusedWriteIsAnsweredAtOnce) {
    gw.refuseWrite(Operation::Set, "PPP.Interface.{i}");
    EXPECT_EQ(tarnWanPppConnect(instanceId({2}), true, kPage.eid, kPage.requestId), VCFG_OK);
    EXPECT_TRUE(gw.logged("syslog", LOG_ERR, "tarnWanPppConnect : Set WAN PPP Connection Instance fail"));
    expectReply(gw, VCFG_MSG_WAN_REPLY, kPage);
    EXPECT_FALSE(pending::peek());
    EXPECT_EQ(status(), "Connected");
}

TEST_F(WanCommandPpp, NoticeSetsTheStatusAndAnswersNobody) {
    gw.receive(VCFG_MSG_WAN_PPP_CONNECTING, "x", kPage, instanceId({2}));
    EXPECT_EQ(status(), "Connecting");
    gw.receive(VCFG_MSG_WAN_PPP_DISCONNECTED, "x", kPage, instanceId({2}));
    EXPECT_EQ(status(), "Disconnected");
    EXPECT_NO_REPLY(gw);
    EXPECT_FALSE(pending::peek());
}

TEST_F(WanCommandPpp, NoticeForAnUnreadableLinkIsAnswered) {
    gw.receive(VCFG_MSG_WAN_PPP_CONNECTING, "x", kPage, instanceId({9}));
    EXPECT_TRUE(gw.logged("syslog", LOG_ERR, "tarnWanPppConnected : Can not get WAN PPP Connection Instance"));
    expectReply(gw, VCFG_MSG_WAN_REPLY, kPage);
    EXPECT_EQ(tarnWanPppConnected(instanceId({9}), false, kPage.eid, 1), VCFG_ERR_FAIL);
}

TEST_F(WanCommandPpp, RefusedNoticeIsLoggedAndAnswersNobody) {
    gw.refuseWrite(Operation::Set, "PPP.Interface.{i}");
    EXPECT_EQ(tarnWanPppConnected(instanceId({2}), true, kPage.eid, 1), VCFG_OK);
    EXPECT_TRUE(gw.logged("syslog", LOG_ERR, "tarnWanPppConnected : Set WAN PPP Connection Instance fail"));
    EXPECT_NO_REPLY(gw);
}

}  // namespace
