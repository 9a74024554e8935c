#include "dhcp_support.h"

namespace {

class DhcpBadInput : public DhcpBase {};

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
