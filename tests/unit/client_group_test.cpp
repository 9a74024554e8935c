// LAN clients that a DHCP criterion puts into a group.
#include <syslog.h>

#include "unit/lan_client_support.h"

namespace {

const std::string kFilter = "Bridging.Filter.1";
constexpr const char* kRefusedTag =
    "tarnProcessDhcpdOption : DHCP crit without ifname, phyif or a tag that names a group, refused";

std::string crit(const std::string& ifname, const std::string& phyif, const std::string& tag) {
    return R"({"ac":"crit","ifname":")" + ifname + R"(","phyif":")" + phyif + R"(","tag":")" + tag + "\"}";
}

TEST(ClientGroup, PortMovesToTheBridgeOfTheGroup) {
    LanGateway gw;
    EXPECT_EQ(gw.reports(crit("br0", "eth0.1", "grp_br1")), VCFG_OK);
    EXPECT_EQ(gw.get(kFilter + ".Bridge"), "Bridging.Bridge.2");
    EXPECT_EQ(gw.get(kFilter + ".X_VORAN_PreviousBridge"), "Bridging.Bridge.1");
    EXPECT_EQ(gw.writes(), Writes{"set Bridging.Filter.1"});
    EXPECT_TRUE(gw.onlyLogged("stdout", "tarnProcessDhcpdOption: DHCP crit"));
}

TEST(ClientGroup, IsWhatFollowsTheFirstUnderscoreOfTheTag) {
    LanGateway gw;
    gw.bridgePort("3.Port.1", "br_1");
    EXPECT_EQ(gw.reports(crit("br0", "eth0.1", "_br_1")), VCFG_OK);
    EXPECT_EQ(gw.get(kFilter + ".Bridge"), "Bridging.Bridge.3");
    EXPECT_EQ(gw.reports(crit("br_1", "eth0.1", "*x_br1")), VCFG_OK);  // what stands before it is never looked at
    EXPECT_EQ(gw.get(kFilter + ".Bridge"), "Bridging.Bridge.2");
}

TEST(ClientGroup, TagThatNamesNoGroupIsRefused) {
    LanGateway gw;
    for (const char* tag : {"", "grp", "grp_", "grp_*", "grp_*br1", "*", "_"}) {
        gw.forget();
        EXPECT_EQ(gw.reports(crit("br0", "eth0.1", tag)), VCFG_ERR_FAIL) << tag;
        EXPECT_TRUE(gw.logged("syslog", LOG_ERR, kRefusedTag)) << tag;
        EXPECT_TRUE(gw.writes().empty()) << tag;
    }
}

TEST(ClientGroup, ReportWithoutInterfaceOrPortIsRefused) {
    LanGateway gw;
    for (const char* absent : {"", "*", "*br0"}) {
        EXPECT_EQ(gw.reports(crit(absent, "eth0.1", "grp_br1")), VCFG_ERR_FAIL) << absent;
        EXPECT_EQ(gw.reports(crit("br0", absent, "grp_br1")), VCFG_ERR_FAIL) << absent;
    }
    for (const char* event : {R"({"ac":"crit"})", R"({"ac":"crit","ifname":[],"phyif":{},"tag":null})",
                              R"({"ac":"crit","ifname":"br0","phyif":"eth0.1"})",
                              R"({"ac":"crit","ifname":"br0","phyif":"eth0.1","tag":[]})"}) {
        EXPECT_EQ(gw.reports(event), VCFG_ERR_FAIL) << event;
    }
    EXPECT_TRUE(gw.writes().empty());
}

TEST(ClientGroup, OfTheBridgeThatTheClientIsOnIsRefused) {
    LanGateway gw;
    EXPECT_EQ(gw.reports(crit("br0", "eth0.1", "grp_br0")), VCFG_ERR_FAIL);
    EXPECT_TRUE(gw.logged("syslog", LOG_ERR,
                          "tarnProcessDhcpdOption : DHCP crit to the bridge that the client is on, refused"));
    EXPECT_TRUE(gw.writes().empty());
}

TEST(ClientGroup, PortsThatDoNotExistAreToldAndChangeNothing) {
    LanGateway gw;
    const std::string longName(500, 'x');
    for (const auto& [ifname, phyif, group] :
         {std::tuple<std::string, std::string, std::string>{"br9", "eth0.1", "br1"},
          {"br0", "eth9", "br1"},
          {"br0", "eth0.1", "br9"},
          {"BR0", "eth0.1", "br1"},
          {"br0", "eth0.11", "br1"},
          {longName, "eth0.1", "br1"}}) {
        gw.forget();
        EXPECT_EQ(gw.reports(crit(ifname, phyif, "grp_" + group)), VCFG_OK);
        EXPECT_TRUE(gw.logged("syslog", LOG_ERR,
                              "tarnProcessDhcpdOption : no bridge ports " + ifname + ", " + phyif + " and " + group));
        EXPECT_TRUE(gw.writes().empty());
    }
}

TEST(ClientGroup, PortWithoutAFilterOnItsBridgeIsLeftAlone) {
    LanGateway gw;
    EXPECT_EQ(gw.reports(crit("br1", "eth0.2", "grp_br0")), VCFG_OK);
    gw.set(kFilter + ".Bridge", "Bridging.Bridge.11");
    gw.forget();
    EXPECT_EQ(gw.reports(crit("br0", "eth0.1", "grp_br1")), VCFG_OK);
    EXPECT_TRUE(gw.writes().empty());
    EXPECT_TRUE(gw.onlyLogged("stdout", "tarnProcessDhcpdOption: DHCP crit"));
}

TEST(ClientGroup, FirstFilterOfThePortIsTaken) {
    LanGateway gw;
    gw.set("Bridging.Filter.2.Interface", "Bridging.Bridge.1.Port.2");
    gw.set("Bridging.Filter.2.Bridge", "Bridging.Bridge.1");
    gw.forget();
    EXPECT_EQ(gw.reports(crit("br0", "eth0.1", "grp_br1")), VCFG_OK);
    EXPECT_EQ(gw.writes(), Writes{"set Bridging.Filter.1"});
}

TEST(ClientGroup, FirstPortOfANameIsTaken) {
    LanGateway gw;
    gw.bridgePort("2.Port.3", "eth0.1");
    gw.bridgePort("3.Port.1", "br1");
    gw.bridgePort("3.Port.2", "br0");
    EXPECT_EQ(gw.reports(crit("br0", "eth0.1", "grp_br1")), VCFG_OK);
    EXPECT_EQ(gw.get(kFilter + ".Bridge"), "Bridging.Bridge.2");
}

TEST(ClientGroup, PortThatServesAsOneOfTheThreeServesAsNoOther) {
    LanGateway gw;
    EXPECT_EQ(gw.reports(crit("br0", "br0", "grp_br1")), VCFG_OK);
    EXPECT_TRUE(gw.loggedContaining("no bridge ports br0, br0 and br1"));
    gw.bridgePort("2.Port.3", "br0");
    gw.set(kFilter + ".Interface", "Bridging.Bridge.2.Port.3");
    EXPECT_EQ(gw.reports(crit("br0", "br0", "grp_br1")), VCFG_OK);
    EXPECT_EQ(gw.get(kFilter + ".Bridge"), "Bridging.Bridge.2");
}

TEST(ClientGroup, LookEndsWhenAllThreeAreKnown) {
    LanGateway gw;
    const unsigned before = inproc::calls();
    gw.reports(crit("br0", "eth0.1", "grp_br1"));
    EXPECT_EQ(inproc::calls() - before, 5u);  // three of the four ports, the filter, its write
}

TEST(ClientGroup, RefusedWriteIsToldAndReturned) {
    LanGateway gw;
    gw.refuseWrite(inproc::Operation::Set, "Bridging.Filter.{i}");
    EXPECT_EQ(gw.reports(crit("br0", "eth0.1", "grp_br1")), VCFG_ERR_FAIL);
    EXPECT_TRUE(gw.logged("syslog", LOG_ERR, "tarnProcessDhcpdOption : Set BridgeFilter fail, ret = -5"));
    EXPECT_EQ(gw.get(kFilter + ".Bridge"), "Bridging.Bridge.1");
    EXPECT_EQ(gw.get(kFilter + ".X_VORAN_PreviousBridge"), "");
}

}  // namespace
