#include <algorithm>
#include <string>

#include "connection/pending_request.h"
#include "connection/ppp.h"
#include "support/kit.h"

namespace {

using Writes = std::vector<std::string>;

// The first PPP interface has no link name yet, the IP interface on it has an address: nobody's report may touch them.
class PppBadInput : public testing::Test {
  protected:
    PppBadInput() {
        gw.set("PPP.Interface.1.ConnectionStatus", "Connecting");
        gw.set("IP.Interface.1.LowerLayers", "PPP.Interface.1");
        gw.set("IP.Interface.1.IPv4Address.1.Enable", "true");
        gw.set("IP.Interface.1.IPv4Address.1.Status", "Enabled");
        gw.set("PPP.Interface.2.X_VORAN_LinkName", "wan");
        gw.set("PPP.Interface.2.ConnectionStatus", "Connecting");
        gw.set("IP.Interface.2.LowerLayers", "PPP.Interface.2");
        gw.forget();
    }

    void report(const std::string& payload) { gw.receive(VCFG_MSG_PPPD, payload); }
    void ipv4Up(const std::string& keys) { report(R"({"linkname":"wan","state":"up",)" + keys + "}"); }

    Gateway gw;
};

TEST_F(PppBadInput, ReportOfAnUnknownLinkWritesNothingAndLogsOneLine) {
    for (const char* name : {"", R"("linkname":"",)", R"("linkname":null,)", R"("linkname":{},)",
                             R"("linkname":"lan",)", R"("linkname":"wan ",)", R"("linkname":"wan; reboot",)"}) {
        for (const char* rest : {R"("state":"up","ip":"192.0.2.7")", R"("state":"down")",
                                 R"("state":"down","type":"ipv6")", R"("sessionID":"7")"}) {
            gw.forget();
            report(std::string("{") + name + rest + "}");
            EXPECT_TRUE(gw.writes().empty()) << name << rest;
            EXPECT_TRUE(gw.loggedContaining("no PPP interface has the link name")) << name << rest;
            const auto log = gw.log();
            EXPECT_EQ(std::count_if(log.begin(), log.end(), [](const LogLine& line) { return line.level == 3; }), 1);
        }
    }
}

TEST_F(PppBadInput, OverlongLinkNameIsNobodys) {
    gw.set("PPP.Interface.1.X_VORAN_LinkName", std::string(64, 'x'));
    gw.forget();
    report(R"({"linkname":")" + std::string(200, 'x') + R"(","state":"up","ip":"192.0.2.7"})");
    EXPECT_TRUE(gw.writes().empty());
}

TEST_F(PppBadInput, PayloadThatIsNoObjectWritesNothing) {
    for (const char* payload : {"", "up", "[]", "7", "{", R"("linkname")"}) {
        report(payload);
        EXPECT_TRUE(gw.writes().empty()) << payload;
    }
    gw.receiveEmpty(VCFG_MSG_PPPD);
    EXPECT_TRUE(gw.writes().empty());
}

TEST_F(PppBadInput, UpWithoutAnAddressConfiguresNone) {
    for (const char* ip : {R"("remote":"192.0.2.1")", R"("ip":null)", R"("ip":"")", R"("ip":[1])"}) {
        ipv4Up(ip);
        EXPECT_FALSE(gw.exists("IP.Interface.2.IPv4Address.1")) << ip;
        EXPECT_TRUE(gw.logged("stdout", "Configure IPv4 Address Fail. In processPppdMsg"));
        EXPECT_EQ(gw.get("PPP.Interface.2.ConnectionStatus"), "Connecting");
    }
}

TEST_F(PppBadInput, TextThatIsNoAddressIsRefusedWhole) {
    for (const std::string& ip : {std::string("7"), std::string("$(reboot)"), std::string("192.0.2.300"),
                                  std::string("192.168.100.1000"), "192.0.2.7" + std::string(200, '0')}) {
        gw.forget();
        ipv4Up(R"("ip":")" + ip + "\"");
        EXPECT_TRUE(gw.writes().empty()) << ip;
        EXPECT_TRUE(gw.logged("stdout", "Set IPCP Object fail")) << ip;
    }
}

TEST_F(PppBadInput, MissingTextsReadAsEmpty) {
    ipv4Up(R"("ip":"192.0.2.7")");
    EXPECT_EQ(gw.get("PPP.Interface.2.IPCP.RemoteIPAddress"), "");
    EXPECT_EQ(gw.get("PPP.Interface.2.IPCP.DNSServers"), "");
    report(R"({"linkname":"wan","state":"up","type":"ipv6"})");
    EXPECT_EQ(gw.get("PPP.Interface.2.IPv6CP.LocalInterfaceIdentifier"), "");
}

TEST_F(PppBadInput, OverlongListsAreCutBehindAWholeEntry) {
    const std::string first(200, '1');
    ipv4Up(R"("ip":"192.0.2.7","dns":")" + first + " " + std::string(56, '2') + "\"");
    EXPECT_EQ(gw.get("PPP.Interface.2.IPCP.DNSServers"), first);
    report(R"({"linkname":"wan","state":"up","type":"ipv6","local":"fe80::a )" + std::string(40, 'a') +
           R"(","remote":")" + std::string(46, 'b') + "\"}");
    EXPECT_EQ(gw.get("PPP.Interface.2.IPv6CP.LocalInterfaceIdentifier"), "fe80::a");
    EXPECT_EQ(gw.get("PPP.Interface.2.IPv6CP.RemoteInterfaceIdentifier"), "");
}

TEST_F(PppBadInput, OverlongSessionIdIsCut) {
    report(R"({"linkname":"wan","sessionID":")" + std::string(300, '7') + "\"}");
    EXPECT_EQ(gw.get("PPP.Interface.2.PPPoE.X_VORAN_SessionID"), std::string(16, '7'));
}

TEST_F(PppBadInput, LowerLayersOfOtherNumbersAreNotTheLinks) {
    for (const char* lower : {"PPP.Interface.0", "PPP.Interface.256", "PPP.Interface.258", "PPP.Interface.-2",
                              "PPP.Interface.2.", "PPP.Interface.22", "XPPP.Interface.2"}) {
        gw.set("IP.Interface.2.LowerLayers", lower);
        gw.set("PPP.Interface.2.ConnectionStatus", "Connecting");
        ipv4Up(R"("ip":"192.0.2.7")");
        EXPECT_FALSE(gw.exists("IP.Interface.2.IPv4Address.1")) << lower;
    }
}

}  // namespace
