#include <syslog.h>

#include <algorithm>
#include <string>

#include "connection/router_advertisement.h"
#include "support/kit.h"

namespace {

using inproc::Operation;

constexpr const char* kAcceptRa = "/proc/sys/net/ipv6/conf/eth0.100/accept_ra";
constexpr const char* kDeleteOnDevice = "ip -6 ro del default dev eth0.100 2>/dev/null";

// The advertisement of a router on eth0.100, which is IP interface 2.
class RaBase : public testing::Test {
  protected:
    RaBase() {
        gw.set("IP.Interface.1.Enable", "true");
        gw.set("IP.Interface.1.X_VORAN_IfName", "br0");
        gw.set("IP.Interface.2.Enable", "true");
        gw.set("IP.Interface.2.IPv6Enable", "true");
        gw.set("IP.Interface.2.X_VORAN_IfName", "eth0.100");
        gw.set("IP.Interface.2.LowerLayers", "Ethernet.VLANTermination.1");
        gw.file(kAcceptRa, "2\n");
        gw.forget();
    }

    static std::string advertisement(const std::string& device = "eth0.100", const std::string& lifetime = "1800") {
        return R"({"ifName":")" + device + R"(","router_lifetime":)" + lifetime +
               R"(,"m_flag":128,"o_flag":64,"pref":0,"router":"fe80::1","prefix":"2001:db8::","prefix_len":64})";
    }
    void receive(const std::string& payload) { gw.receive(VCFG_MSG_RA_INFO, payload); }
    void expectIgnored() {
        EXPECT_TRUE(gw.writes().empty());
        EXPECT_TRUE(gw.commands().empty());
    }
    bool ran(const std::string& command) {
        const auto commands = gw.commands();
        return std::find(commands.begin(), commands.end(), command) != commands.end();
    }

    Gateway gw;
};

class RaReport : public RaBase {};
class RaOverPpp : public RaBase {
  protected:
    RaOverPpp() {
        gw.set("IP.Interface.2.X_VORAN_IfName", "");
        gw.set("IP.Interface.2.LowerLayers", "PPP.Interface.3");
        gw.set("PPP.Interface.3.X_VORAN_IfName", "ppp3");
        gw.set("PPP.Interface.3.X_VORAN_IPv6Enable", "true");
        gw.file("/proc/sys/net/ipv6/conf/ppp3/accept_ra", "1");
        gw.forget();
    }
};
class RaDefaultRoute : public RaBase {};
class RaBadInput : public RaBase {};
class RaNullRecord : public RaBase {};

TEST_F(RaReport, OfAWanInterfaceIsTaken) {
    EXPECT_EQ(processRaInfo(advertisement().c_str()), VCFG_OK);
    EXPECT_EQ(gw.get("Routing.RouteInformation.InterfaceSetting.1.Interface"), "IP.Interface.2");
    EXPECT_EQ(gw.get("DHCPv6.Client.1.Interface"), "IP.Interface.2");
    EXPECT_TRUE(gw.log().empty() || !gw.loggedContaining("get sysCmd fail"));
}

TEST_F(RaReport, OfABridgeIsIgnoredBeforeAnyFileIsRead) {
    for (const char* device : {"br0", "br-lan", "xbr", "eth0br"}) {
        EXPECT_EQ(processRaInfo(advertisement(device).c_str()), VCFG_OK);
        EXPECT_FALSE(gw.loggedContaining("get sysCmd fail")) << device;
        expectIgnored();
    }
}

TEST_F(RaReport, OfADeviceThatDoesNotAcceptThemIsIgnored) {
    for (const char* off : {"0", "0\n"}) {
        gw.file(kAcceptRa, off);
        EXPECT_EQ(processRaInfo(advertisement().c_str()), VCFG_OK);
        expectIgnored();
    }
}

TEST_F(RaReport, OfADeviceWhoseSwitchCannotBeReadIsTaken) {
    gw.set("IP.Interface.2.X_VORAN_IfName", "eth9");
    receive(advertisement("eth9"));
    EXPECT_TRUE(gw.logged("stdout", "processRaInfo: get sysCmd fail "));
    EXPECT_TRUE(gw.exists("DHCPv6.Client.1"));
}

TEST_F(RaReport, SwitchThatHoldsNoNumberCountsAsOn) {
    gw.file(kAcceptRa, "yes");
    receive(advertisement());
    EXPECT_TRUE(gw.exists("DHCPv6.Client.1"));
}

TEST_F(RaReport, OfNoDefaultRouterIsIgnored) {
    for (const char* lifetime : {"0", "null", R"("")", "-1", "{}"}) {
        EXPECT_EQ(processRaInfo(advertisement("eth0.100", lifetime).c_str()), VCFG_OK);
        expectIgnored();
    }
    receive(R"({"ifName":"eth0.100"})");
    expectIgnored();
}

TEST_F(RaReport, OfAnUnknownDeviceReturnsTheCodeThatEndedTheWalk) {
    EXPECT_EQ(processRaInfo(advertisement("eth7").c_str()), VCFG_ERR_NOT_FOUND);
    inproc::fail(Operation::Next, "IP.Interface.{i}", 1, VCFG_ERR_TIMEOUT);
    EXPECT_EQ(processRaInfo(advertisement().c_str()), VCFG_ERR_TIMEOUT);
    expectIgnored();
}

TEST_F(RaReport, OfAnInterfaceWithoutIpv6IsIgnored) {
    gw.set("IP.Interface.2.IPv6Enable", "false");
    gw.forget();
    EXPECT_EQ(processRaInfo(advertisement().c_str()), VCFG_OK);
    expectIgnored();
}

TEST_F(RaReport, OfADisabledInterfaceMatchesNone) {
    gw.set("IP.Interface.2.Enable", "false");
    gw.forget();
    EXPECT_EQ(processRaInfo(advertisement().c_str()), VCFG_ERR_NOT_FOUND);
    expectIgnored();
}

TEST_F(RaOverPpp, DeviceOfTheLinkBelowIsTaken) {
    receive(advertisement("ppp3"));
    EXPECT_EQ(gw.get("DHCPv6.Client.1.Interface"), "IP.Interface.2");
    EXPECT_TRUE(ran("ip -6 ro del default dev ppp3 2>/dev/null"));
}

TEST_F(RaOverPpp, NeitherTheInterfaceNorItsIpv6NeedsToBeEnabled) {
    gw.set("IP.Interface.2.Enable", "false");
    gw.set("IP.Interface.2.IPv6Enable", "false");
    receive(advertisement("ppp3"));
    EXPECT_EQ(gw.get("DHCPv6.Client.1.Interface"), "IP.Interface.2");
}

TEST_F(RaOverPpp, DisabledInterfaceThatNamesTheDeviceItselfIsJudgedByItsLink) {
    gw.set("IP.Interface.2.X_VORAN_IfName", "ppp3");
    gw.set("IP.Interface.2.Enable", "false");
    receive(advertisement("ppp3"));
    EXPECT_EQ(gw.get("DHCPv6.Client.1.Interface"), "IP.Interface.2");
}

TEST_F(RaOverPpp, InterfaceThatNamesTheDeviceItselfIsRefused) {
    gw.set("IP.Interface.2.X_VORAN_IfName", "ppp3");
    gw.forget();
    EXPECT_EQ(processRaInfo(advertisement("ppp3").c_str()), VCFG_OK);
    EXPECT_TRUE(gw.logged("stdout", "processRaInfo: incorrect interface (ppp3), DON'T set to datamodel"));
    expectIgnored();
}

TEST_F(RaOverPpp, LinkWithoutIpv6IsIgnored) {
    gw.set("PPP.Interface.3.X_VORAN_IPv6Enable", "false");
    gw.forget();
    EXPECT_EQ(processRaInfo(advertisement("ppp3").c_str()), VCFG_OK);
    expectIgnored();
}

TEST_F(RaOverPpp, LinkOfAnotherDeviceIsPassedOver) {
    gw.set("IP.Interface.5.LowerLayers", "PPP.Interface.4");
    gw.set("PPP.Interface.3.X_VORAN_IfName", "ppp9");
    gw.set("PPP.Interface.4.X_VORAN_IfName", "ppp3");
    gw.set("PPP.Interface.4.X_VORAN_IPv6Enable", "true");
    receive(advertisement("ppp3"));
    EXPECT_EQ(gw.get("DHCPv6.Client.1.Interface"), "IP.Interface.5");
}

TEST_F(RaOverPpp, UnreadableLinkEndsTheReport) {
    gw.refuseWrite(Operation::Get, "PPP.Interface.{i}");
    EXPECT_EQ(processRaInfo(advertisement("ppp3").c_str()), VCFG_ERR_FAIL);
    EXPECT_TRUE(gw.logged("stdout", "processRaInfo : Get PPP.Interface fail"));
    expectIgnored();
}

TEST_F(RaOverPpp, LinkNumbersThatAreNoneEndTheReport) {
    for (const char* lower : {"PPP.Interface.0", "PPP.Interface.256", "PPP.Interface.259", "PPP.Interface.-3",
                              "PPP.Interface.33333333333", "PPP.Interface.", "X,PPP.Interface.3"}) {
        gw.set("IP.Interface.2.LowerLayers", lower);
        gw.forget();
        EXPECT_EQ(processRaInfo(advertisement("ppp3").c_str()), VCFG_ERR_FAIL) << lower;
        expectIgnored();
    }
}

TEST_F(RaDefaultRoute, OfADeviceThatIsNoDefaultGatewayIsRemoved) {
    gw.set("Routing.Router.1.X_VORAN_IPv6DefaultInterfaces", "IP.Interface.1,IP.Interface.3");
    receive(advertisement());
    EXPECT_TRUE(ran(kDeleteOnDevice));
}

TEST_F(RaDefaultRoute, OfADefaultGatewayInterfaceIsKept) {
    gw.set("Routing.Router.1.X_VORAN_IPv6DefaultInterfaces", "IP.Interface.1,IP.Interface.2");
    receive(advertisement());
    EXPECT_FALSE(ran(kDeleteOnDevice));
}

TEST_F(RaDefaultRoute, ListIsComparedAsText) {
    gw.set("Routing.Router.1.X_VORAN_IPv6DefaultInterfaces", "IP.Interface.21");
    receive(advertisement());
    EXPECT_FALSE(ran(kDeleteOnDevice));
}

TEST_F(RaDefaultRoute, IsRemovedWhenTheListCannotBeRead) {
    receive(advertisement());
    EXPECT_TRUE(ran(kDeleteOnDevice));
}

TEST_F(RaDefaultRoute, DeviceNameCannotBecomeACommand) {
    tarnRaDefaultRouteCheck("IP.Interface.2", "eth0;reboot");
    tarnRaDefaultRouteCheck("IP.Interface.2", "a'$(reboot)'");
    EXPECT_EQ(gw.commands(),
              (std::vector<std::string>{"ip -6 ro del default dev 'eth0;reboot' 2>/dev/null",
                                        R"(ip -6 ro del default dev 'a'\''$(reboot)'\''' 2>/dev/null)"}));
}

TEST_F(RaDefaultRoute, OfTheDeviceGoesBeforeTheOldRoutersRoute) {
    receive(advertisement());
    EXPECT_EQ(gw.commands(), (std::vector<std::string>{kDeleteOnDevice, "ip -6 rou delete default"}));
}

TEST_F(RaNullRecord, IsNamedAndTheReportGoesOn) {
    gw.add("Routing.Router.1");
    for (const char* pattern :
         {"DHCPv6.Client.{i}", "Routing.Router.{i}", "Routing.RouteInformation.InterfaceSetting.{i}"}) {
        gw.forget();
        inproc::nullRecord(pattern);
        EXPECT_EQ(processRaInfo(advertisement().c_str()), VCFG_OK);
        EXPECT_TRUE(gw.loggedContaining("Free NULL pointer. tarn_connection ")) << pattern;
        EXPECT_TRUE(ran(kDeleteOnDevice)) << pattern;
    }
}

TEST_F(RaNullRecord, OfTheInterfaceEndsTheWalk) {
    inproc::nullRecord("IP.Interface.{i}");
    EXPECT_EQ(processRaInfo(advertisement().c_str()), VCFG_ERR_FAIL);
    EXPECT_TRUE(gw.loggedContaining("Free NULL pointer. tarn_connection "));
    expectIgnored();
}

TEST_F(RaBadInput, SwitchIsNeverReadOutsideItsFolder) {
    gw.file("/proc/sys/net/ipv6/conf/../../../../../tmp/accept_ra", "0");
    gw.file("/proc/sys/net/ipv6/conf/all/../eth0.100/accept_ra", "0");
    gw.file("/proc/sys/net/ipv6/conf/../accept_ra", "0");
    gw.file("/proc/sys/net/ipv6/conf/./accept_ra", "0");
    gw.file("/proc/sys/net/ipv6/conf//accept_ra", "0");
    for (const char* device : {"../../../../../tmp", "all/../eth0.100", "..", ".", ""}) {
        gw.forget();
        EXPECT_EQ(processRaInfo(advertisement(device).c_str()), VCFG_ERR_NOT_FOUND) << device;
        EXPECT_TRUE(gw.logged("stdout", "processRaInfo: get sysCmd fail ")) << device;
        expectIgnored();
    }
}

TEST_F(RaBadInput, OverlongDeviceNameMatchesNone) {
    const std::string device(200, 'e');
    gw.file("/proc/sys/net/ipv6/conf/" + device + "/accept_ra", "0");
    EXPECT_EQ(processRaInfo(advertisement(device).c_str()), VCFG_ERR_NOT_FOUND);
    EXPECT_TRUE(gw.loggedContaining("get sysCmd fail"));
    expectIgnored();
}

TEST_F(RaBadInput, ShellCharactersInTheDeviceNameRunNothing) {
    for (const char* device : {"$(reboot)", "eth0;reboot", "`reboot`", "eth0 eth1", "|sh"}) {
        EXPECT_EQ(processRaInfo(advertisement(device).c_str()), VCFG_ERR_NOT_FOUND) << device;
        expectIgnored();
    }
}

TEST_F(RaBadInput, MissingDeviceIsNotTheInterfaceWithoutOne) {
    gw.set("IP.Interface.2.X_VORAN_IfName", "");
    gw.set("IP.Interface.3.LowerLayers", "PPP.Interface.1");
    gw.set("PPP.Interface.1.X_VORAN_IPv6Enable", "true");
    gw.forget();
    for (const char* payload : {R"({"router_lifetime":1800})", R"({"ifName":null,"router_lifetime":1800})",
                                R"({"ifName":[],"router_lifetime":1800})", R"({"ifName":"","router_lifetime":1800})"}) {
        EXPECT_EQ(processRaInfo(payload), VCFG_ERR_NOT_FOUND) << payload;
        expectIgnored();
    }
}

TEST_F(RaBadInput, PayloadThatIsNoObjectIsIgnored) {
    for (const char* payload : {"", "[]", "{", "1800"}) {
        gw.forget();
        receive(payload);
        EXPECT_TRUE(gw.logged("syslog", LOG_ERR, "processRaInfo : the payload is not a JSON object")) << payload;
        expectIgnored();
    }
}

}  // namespace
