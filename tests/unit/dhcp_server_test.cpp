// What the LAN's DHCP server reports, by its actions.
#include <syslog.h>

#include "unit/lan_client_support.h"

namespace {

const std::string kAdd = R"({"ac":"add","ifname":"br0","mac":"02:00:00:00:00:07","ip":"192.168.1.7",)"
                         R"("moui":"00D09E","serial":"S-7","pclass":"Box","vendor":"voip"})";
const std::string kStatic = "DHCPv4.Server.Pool.2.StaticAddress";
const std::string kDevices = "ManagementServer.ManageableDevice";

std::string with(std::string event, const std::string& key, const std::string& value) {
    const size_t begin = event.find("\"" + key + "\":");
    const size_t end = event.find_first_of(",}", begin);
    return event.replace(begin, end - begin, "\"" + key + "\":" + value);
}

std::string without(std::string event, const std::string& key) {
    return with(event, key, "null");
}

TEST(DhcpServer, ReportReachesItsHandlerAndNobodyIsAnswered) {
    LanGateway gw;
    gw.receive(VCFG_MSG_DHCPD_OPTION, kAdd);
    EXPECT_TRUE(gw.logged("vlog", VLOG_DEBUG, "receiving VCFG_MSG_DHCPD_OPTION"));
    EXPECT_EQ(gw.get(kDevices + ".1.SerialNumber"), "S-7");
    EXPECT_NO_REPLY(gw);
}

TEST(DhcpServer, MessageWithoutPayloadIsOnlyAnnounced) {
    LanGateway gw;
    gw.receiveEmpty(VCFG_MSG_DHCPD_OPTION);
    EXPECT_TRUE(gw.logged("vlog", VLOG_DEBUG, "receiving VCFG_MSG_DHCPD_OPTION"));
    EXPECT_FALSE(gw.loggedContaining("tarnProcessDhcpdOption"));
}

TEST(DhcpServer, TextThatDoesNotParseIsRefusedInTheLibrarysWords) {
    LanGateway gw;
    EXPECT_EQ(gw.reports(R"({"ac":x})"), VCFG_ERR_FAIL);
    EXPECT_TRUE(gw.onlyLogged("stdout", "tarnProcessDhcpdOption: error parsing json: unexpected character"));
    gw.forget();
    EXPECT_EQ(gw.reports(""), VCFG_ERR_FAIL);
    EXPECT_TRUE(gw.onlyLogged("stdout", "tarnProcessDhcpdOption: error parsing json: unexpected end of data"));
    gw.forget();
    EXPECT_EQ(gw.reports(std::string(100, '[')), VCFG_ERR_FAIL);
    EXPECT_TRUE(gw.onlyLogged("stdout", "tarnProcessDhcpdOption: error parsing json: nesting too deep"));
}

TEST(DhcpServer, JsonThatIsNoObjectHasNoKeys) {
    LanGateway gw;
    for (const char* event : {"[]", "null", "7", "\"add\"", "{}"}) {
        EXPECT_EQ(gw.reports(event), VCFG_OK) << event;
    }
    EXPECT_TRUE(gw.log().empty());
    EXPECT_TRUE(gw.writes().empty());
}

TEST(DhcpServer, ActionThatNobodyKnowsDoesNothing) {
    LanGateway gw;
    for (const char* action : {R"("")", R"("ADD")", R"("addx")", R"("*")", "1", "null", "[]", "{}", "true"}) {
        EXPECT_EQ(gw.reports(with(kAdd, "ac", action)), VCFG_OK) << action;
    }
    EXPECT_TRUE(gw.log().empty());
    EXPECT_TRUE(gw.writes().empty());
}

TEST(DhcpServer, ValuesReadAsTheirText) {
    const Json event = Json::parse(R"({"a":"x","b":7,"c":null,"d":{},"e":[],"g":true})");
    EXPECT_EQ(tarnJsonGetString(event, "a"), "x");
    EXPECT_EQ(tarnJsonGetString(event, "b"), "7");
    EXPECT_EQ(tarnJsonGetString(event, "g"), "true");
    for (const char* key : {"c", "d", "e", "f"}) {
        EXPECT_EQ(tarnJsonGetString(event, key), "") << key;
    }
}

TEST(DhcpLeaseGranted, AddsTheManageableDevice) {
    LanGateway gw;
    EXPECT_EQ(gw.reports(kAdd), VCFG_OK);
    EXPECT_EQ(gw.get(kDevices + ".1.ManufacturerOUI"), "00D09E");
    EXPECT_EQ(gw.get(kDevices + ".1.ProductClass"), "Box");
    EXPECT_EQ(gw.get(kDevices + ".1.X_VORAN_HardwareAddress"), "02:00:00:00:00:07");
    EXPECT_TRUE(gw.logged("stdout", "tarnProcessDhcpdOption: DHCP add"));
}

TEST(DhcpLeaseGranted, IsNoStaticOneUnlessVendorOrPoolSaySo) {
    LanGateway gw;
    EXPECT_EQ(gw.reports(kAdd), VCFG_OK);
    EXPECT_EQ(gw.count(kStatic), 0u);
}

TEST(DhcpLeaseGranted, OfAKnownVendorIsPinned) {
    LanGateway gw;
    gw.set("DHCPv4.Server.X_VORAN_VendorClass.VendorClassID3", "voip");
    EXPECT_EQ(gw.reports(kAdd), VCFG_OK);
    EXPECT_EQ(gw.get(kStatic + ".1.Enable"), "true");
    EXPECT_EQ(gw.get(kStatic + ".1.Chaddr"), "02:00:00:00:00:07");
    EXPECT_EQ(gw.get(kStatic + ".1.Yiaddr"), "192.168.1.7");
}

TEST(DhcpLeaseGranted, OnAPoolOfStaticLeasesIsPinned) {
    LanGateway gw;
    gw.set("DHCPv4.Server.Pool.2.X_VORAN_AlwaysStatic", "true");
    EXPECT_EQ(gw.reports(without(kAdd, "vendor")), VCFG_OK);
    EXPECT_EQ(gw.get(kStatic + ".1.Yiaddr"), "192.168.1.7");
}

TEST(DhcpLeaseGranted, OverIpv6AddsTheDeviceButNeverAStaticAddress) {
    LanGateway gw;
    gw.set("DHCPv4.Server.X_VORAN_VendorClass.VendorClassID1", "voip");
    gw.set("DHCPv4.Server.Pool.2.X_VORAN_AlwaysStatic", "true");
    EXPECT_EQ(gw.reports(with(kAdd, "ip", R"("2001:db8::7")")), VCFG_OK);
    EXPECT_EQ(gw.get(kDevices + ".1.SerialNumber"), "S-7");
    EXPECT_EQ(gw.count(kStatic), 0u);
}

TEST(DhcpLeaseGranted, WithoutWhatItNeedsIsRefused) {
    LanGateway gw;
    gw.set("DHCPv4.Server.Pool.2.X_VORAN_AlwaysStatic", "true");
    gw.forget();
    for (const char* key : {"ifname", "mac", "ip"}) {
        for (const char* value : {"null", R"("")", R"("*")", R"("*x")", "[]", "{}"}) {
            gw.forget();
            EXPECT_EQ(gw.reports(with(kAdd, key, value)), VCFG_ERR_FAIL) << key << value;
            EXPECT_TRUE(gw.writes().empty()) << key << value;
            EXPECT_TRUE(
                gw.logged("syslog", LOG_ERR, "tarnProcessDhcpdOption : DHCP add without ifname, mac or ip, refused"));
        }
    }
}

TEST(DhcpLeaseGranted, WithoutDeviceOptionsIsStillPinned) {
    LanGateway gw;
    gw.set("DHCPv4.Server.Pool.2.X_VORAN_AlwaysStatic", "true");
    for (const char* key : {"moui", "serial", "pclass"}) {
        EXPECT_EQ(gw.reports(without(kAdd, key)), VCFG_OK);
    }
    EXPECT_EQ(gw.count(kDevices), 0u);
    EXPECT_EQ(gw.count(kStatic), 1u);
}

TEST(DhcpLeaseGranted, RefusedStaticAddressIsNotPassedOn) {
    LanGateway gw;
    gw.set("DHCPv4.Server.Pool.2.X_VORAN_AlwaysStatic", "true");
    EXPECT_EQ(gw.reports(with(kAdd, "mac", R"("not a mac")")), VCFG_OK);
    EXPECT_EQ(gw.reports(with(kAdd, "ip", R"("192.168.1.777")")), VCFG_OK);
    EXPECT_EQ(gw.reports(with(kAdd, "ifname", R"("br9")")), VCFG_OK);
    EXPECT_EQ(gw.count(kStatic), 0u);
}

TEST(DhcpLeaseExpired, MarksTheDeviceForRemoval) {
    LanGateway gw;
    gw.reports(kAdd);
    gw.forget();
    EXPECT_EQ(gw.reports(with(kAdd, "ac", R"("del")")), VCFG_OK);
    EXPECT_EQ(gw.get(kDevices + ".1.Alias"), "MGAB_DEV_DELETE");
    EXPECT_TRUE(gw.logged("stdout", "tarnProcessDhcpdOption: DHCP expire, delete node data"));
}

TEST(DhcpLeaseExpired, NeedsNoAddress) {
    LanGateway gw;
    gw.reports(kAdd);
    EXPECT_EQ(gw.reports(R"({"ac":"del","moui":"00D09E","serial":"S-7","pclass":"Box"})"), VCFG_OK);
    EXPECT_EQ(gw.get(kDevices + ".1.Alias"), "MGAB_DEV_DELETE");
}

TEST(DhcpLeaseRenewed, ChangesNothing) {
    LanGateway gw;
    gw.set("DHCPv4.Server.Pool.2.X_VORAN_AlwaysStatic", "true");
    gw.forget();
    EXPECT_EQ(gw.reports(with(kAdd, "ac", R"("up")")), VCFG_OK);
    EXPECT_TRUE(gw.onlyLogged("stdout", "tarnProcessDhcpdOption: DHCP lease, sync node data"));
    EXPECT_TRUE(gw.writes().empty());
}

}  // namespace
