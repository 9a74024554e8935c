#include <syslog.h>

#include <string>

#include "connection/router_advertisement.h"
#include "support/kit.h"

namespace {

using inproc::Operation;
using Writes = std::vector<std::string>;
using Commands = std::vector<std::string>;

constexpr const char* kPath = "IP.Interface.2";
constexpr int64_t kNow = 1'700'000'000;  // the kit's clock at its start

RouterAdvertisementInfo router() {
    return {128, 64, 0, 64, 1800, "2001:db8::", "fe80::1"};
}

class RaRecord : public testing::Test {
  protected:
    int take(const RouterAdvertisementInfo& info) { return tarnSetIpv6RouterInfo(kPath, info); }
    void taken(const RouterAdvertisementInfo& info = router()) {
        take(info);
        gw.forget();
    }
    std::string entry(const std::string& parameter, const std::string& instance = "1") {
        return gw.get("Routing.RouteInformation.InterfaceSetting." + instance + "." + parameter);
    }
    void expectUnwritten() {
        EXPECT_TRUE(gw.writes().empty());
        EXPECT_TRUE(gw.commands().empty());
    }

    Gateway gw;
};

class RaClient : public RaRecord {
  protected:
    std::string client(const std::string& parameter, const std::string& instance = "1") {
        return gw.get("DHCPv6.Client." + instance + "." + parameter);
    }
    void onEth0() {
        gw.set("IP.Interface.2.Enable", "true");
        gw.set("IP.Interface.2.IPv6Enable", "true");
        gw.set("IP.Interface.2.X_VORAN_IfName", "eth0");
        gw.file("/proc/sys/net/ipv6/conf/eth0/accept_ra", "1");
    }
    void advertise(const std::string& flags) {
        gw.receive(VCFG_MSG_RA_INFO, R"({"ifName":"eth0","router_lifetime":1800,"router":"fe80::1",)" + flags + "}");
    }
};

TEST_F(RaRecord, FirstRouterIsRecorded) {
    EXPECT_EQ(take(router()), 1);
    EXPECT_EQ(entry("Interface"), kPath);
    EXPECT_EQ(entry("SourceRouter"), "fe80::1");
    EXPECT_EQ(entry("Prefix"), "2001:db8::/64");
    EXPECT_EQ(entry("X_VORAN_ManagedFlag"), "128");
    EXPECT_EQ(entry("X_VORAN_OtherFlag"), "64");
    EXPECT_EQ(entry("X_VORAN_RouterLifetime"), "1800");
    EXPECT_EQ(entry("RouteLifetime"), std::to_string(kNow + 1800));
    EXPECT_EQ(entry("PreferredRouteFlag"), "Medium");
    EXPECT_EQ(gw.commands(), Commands{"ip -6 rou delete default"});
    EXPECT_TRUE(gw.logged("vlog", VLOG_DEBUG, "Add RouteInformation.InterfaceSetting Success"));
    EXPECT_TRUE(gw.logged("vlog", VLOG_DEBUG, "rtInfoObj->Prefix = 2001:db8::/64"));
}

TEST_F(RaRecord, FreeEntryIsTakenBeforeOneIsAdded) {
    gw.set("Routing.RouteInformation.InterfaceSetting.1.Interface", "IP.Interface.1");
    gw.add("Routing.RouteInformation.InterfaceSetting.3");
    gw.forget();
    EXPECT_EQ(take(router()), 1);
    EXPECT_EQ(gw.writes(), Writes{"set Routing.RouteInformation.InterfaceSetting.3"});
    EXPECT_EQ(entry("Interface", "3"), kPath);
}

TEST_F(RaRecord, SameAdvertisementAgainWritesNothing) {
    taken();
    EXPECT_EQ(take(router()), 0);
    expectUnwritten();
}

TEST_F(RaRecord, AdvertisementWithoutPrefixHasNone) {
    auto info = router();
    info.prefixLength = 0;
    take(info);
    EXPECT_EQ(entry("Prefix"), "");
}

TEST_F(RaRecord, SameRoutersNewPrefixReplacesTheOld) {
    taken();
    auto info = router();
    info.prefix = "2001:db8:9::";
    EXPECT_EQ(take(info), 0);
    EXPECT_EQ(entry("Prefix"), "2001:db8:9::/64");
    EXPECT_TRUE(gw.logged("vlog", VLOG_DEBUG, "Prefix was changed from 2001:db8::/64 to 2001:db8:9::/64"));
    EXPECT_EQ(gw.commands(), Commands{"ip -6 rou delete default"});
}

TEST_F(RaRecord, SameRoutersChangedFlagsAreReportedButNotWritten) {
    taken();
    auto info = router();
    info.managedFlag = 0;
    EXPECT_EQ(take(info), 1);
    EXPECT_EQ(take(info), 1);
    expectUnwritten();
    EXPECT_EQ(entry("X_VORAN_ManagedFlag"), "128");
}

TEST_F(RaRecord, SecondRouterWithAnotherPrefixIsNotSelected) {
    taken();
    auto other = router();
    other.router = "fe80::2";
    other.prefix = "2001:db8:2::";
    EXPECT_EQ(take(other), 0);
    EXPECT_TRUE(gw.logged("vlog", VLOG_DEBUG, "Multiple Router exist, select one"));
    expectUnwritten();
    EXPECT_EQ(entry("SourceRouter"), "fe80::1");
}

TEST_F(RaRecord, SecondRouterWithTheSameOrNoPrefixIsPassedOver) {
    taken();
    auto other = router();
    other.router = "fe80::2";
    EXPECT_EQ(take(other), 0);
    other.prefixLength = 0;
    EXPECT_EQ(take(other), 0);
    expectUnwritten();
    EXPECT_TRUE(gw.log().empty());
}

TEST_F(RaRecord, SecondRouterWithOtherFlagsReplacesTheFirst) {
    taken();
    auto other = router();
    other.router = "fe80::2";
    other.otherFlag = 0;
    EXPECT_EQ(take(other), 1);
    EXPECT_TRUE(gw.logged("vlog", VLOG_DEBUG, "Add Prefix"));
    EXPECT_EQ(entry("SourceRouter"), "fe80::2");
    EXPECT_EQ(entry("X_VORAN_OtherFlag"), "0");
}

TEST_F(RaRecord, SecondRouterWithTheFirstPrefixReplacesTheFirst) {
    auto first = router();
    first.prefixLength = 0;
    taken(first);
    auto other = router();
    other.router = "fe80::2";
    EXPECT_EQ(take(other), 0);
    EXPECT_TRUE(gw.logged("vlog", VLOG_DEBUG, "Add Prefix"));
    EXPECT_EQ(entry("Prefix"), "2001:db8::/64");
}

TEST_F(RaRecord, PreferenceIsWrittenByName) {
    auto info = router();
    const struct {
        int32_t bits;
        const char* name;
    } kPreferences[] = {{8, "High"}, {24, "Low"}, {0, "Medium"}};
    int32_t prefixLength = 60;
    for (const auto& preference : kPreferences) {
        info.preference = preference.bits;
        info.prefixLength = ++prefixLength;
        take(info);
        EXPECT_EQ(entry("PreferredRouteFlag"), preference.name);
    }
}

TEST_F(RaRecord, ReservedPreferenceLeavesTheFlag) {
    auto info = router();
    info.preference = 8;
    taken(info);
    for (const int32_t bits : {16, -8, 1, 255}) {
        info.preference = bits;
        info.prefixLength = info.prefixLength == 64 ? 56 : 64;
        take(info);
        EXPECT_EQ(entry("PreferredRouteFlag"), "High") << bits;
    }
}

TEST_F(RaRecord, FailedAddChangesNothing) {
    gw.refuseWrite(Operation::Add, "Routing.RouteInformation.InterfaceSetting.{i}");
    EXPECT_EQ(take(router()), 0);
    EXPECT_TRUE(gw.logged("vlog", VLOG_ERROR, "fail to add RDM_OID_ROUTING_RT_INFO_INTF_SET"));
    expectUnwritten();
}

TEST_F(RaRecord, FailedReadOfTheNewEntryEndsIt) {
    gw.refuseWrite(Operation::Get, "Routing.RouteInformation.InterfaceSetting.{i}");
    EXPECT_EQ(take(router()), 0);
    EXPECT_TRUE(gw.logged("vlog", VLOG_ERROR, "fail to get RDM_OID_ROUTING_RT_INFO_INTF_SET"));
    EXPECT_TRUE(gw.commands().empty());
}

TEST_F(RaRecord, RefusedWriteIsLoggedAndTheClientStillReconfigured) {
    gw.refuseWrite(Operation::Set, "Routing.RouteInformation.InterfaceSetting.{i}");
    EXPECT_EQ(take(router()), 1);
    EXPECT_TRUE(gw.logged("vlog", VLOG_ERROR, "fail to set RDM_OID_ROUTING_RT_INFO_INTF_SET"));
}

TEST_F(RaRecord, TextsThatAreNoAddressAreRefusedWhole) {
    taken();
    const std::string tooLong = "0000:0000:0000:0000:0000:ffff:255.255.255.255";
    for (const std::string& bad :
         {std::string("$(reboot)"), std::string("2001:db8::g"), tooLong + "555555", std::string()}) {
        auto info = router();
        info.prefix = bad;
        take(info);
        EXPECT_EQ(entry("Prefix"), "2001:db8::/64") << bad;
        info.managedFlag = 0;
        info.router = bad + "!";
        take(info);
        EXPECT_EQ(entry("SourceRouter"), "fe80::1") << bad;
    }
}

TEST_F(RaRecord, PrefixLengthsThatAreNoneAreRefused) {
    taken();
    for (const int32_t length : {-1, 129, 256, INT32_MAX, INT32_MIN}) {
        auto info = router();
        info.prefixLength = length;
        take(info);
        EXPECT_EQ(entry("Prefix"), "2001:db8::/64") << length;
    }
}

TEST_F(RaRecord, HugeLifetimeStaysInRange) {
    auto info = router();
    info.routerLifetime = INT32_MAX;
    take(info);
    EXPECT_EQ(entry("RouteLifetime"), std::to_string(kNow + INT32_MAX));
}

TEST_F(RaClient, IsAddedForItsInterface) {
    tarnSetDhcp6Client(kPath, true, true);
    EXPECT_EQ(client("Enable"), "true");
    EXPECT_EQ(client("Status"), "Enabled");
    EXPECT_EQ(client("Interface"), kPath);
    EXPECT_EQ(client("RequestAddresses"), "true");
    EXPECT_EQ(client("RequestPrefixes"), "true");
    EXPECT_EQ(client("RequestedOptions"), "OPTION_DNS_SERVERS");
    EXPECT_TRUE(gw.logged("stdout", "Add DHCPv6 Client Success"));
    EXPECT_EQ(gw.writes(), (Writes{"add DHCPv6.Client.1", "set DHCPv6.Client.1"}));
}

TEST_F(RaClient, OfTheInterfaceIsUpdated) {
    gw.set("DHCPv6.Client.1.Interface", "IP.Interface.1");
    gw.set("DHCPv6.Client.2.Interface", kPath);
    gw.set("DHCPv6.Client.2.X_VORAN_PidFile", "/run/2.pid");
    gw.forget();
    tarnSetDhcp6Client(kPath, false, true);
    EXPECT_EQ(gw.writes(), Writes{"set DHCPv6.Client.2"});
    EXPECT_EQ(client("RequestAddresses", "2"), "false");
    EXPECT_EQ(client("RequestedOptions", "2"), "OPTION_DNS_SERVERS");
    EXPECT_EQ(client("X_VORAN_PidFile", "2"), "/run/2.pid");
}

TEST_F(RaClient, FirstOwnOrFreeEntryIsTaken) {
    gw.add("DHCPv6.Client.1");
    gw.set("DHCPv6.Client.2.Interface", kPath);
    gw.forget();
    tarnSetDhcp6Client(kPath, true, false);
    EXPECT_EQ(gw.writes(), Writes{"set DHCPv6.Client.1"});
}

TEST_F(RaClient, FlagsDecideWhatIsRequested) {
    onEth0();
    const struct {
        const char* flags;
        const char* addresses;
        const char* options;
    } kCases[] = {{R"("m_flag":128,"o_flag":64)", "true", "OPTION_DNS_SERVERS"},
                  {R"("m_flag":128,"o_flag":0)", "true", "OPTION_DNS_SERVERS"},
                  {R"("m_flag":0,"o_flag":64)", "false", "OPTION_DNS_SERVERS"},
                  {R"("m_flag":1,"o_flag":1)", "false", ""},
                  {R"("m_flag":true,"o_flag":"yes")", "false", ""},
                  {R"("m_flag":"128")", "true", "OPTION_DNS_SERVERS"}};
    for (const auto& expected : kCases) {
        advertise(expected.flags);
        EXPECT_EQ(client("RequestAddresses"), expected.addresses) << expected.flags;
        EXPECT_EQ(client("RequestPrefixes"), "true") << expected.flags;
        EXPECT_EQ(client("RequestedOptions"), expected.options) << expected.flags;
    }
}

TEST_F(RaClient, BothFlagsClearRequestAPrefixOnly) {
    onEth0();
    advertise(R"("m_flag":0,"o_flag":0)");
    EXPECT_EQ(client("RequestAddresses"), "false");
    EXPECT_EQ(client("RequestPrefixes"), "true");
    EXPECT_EQ(client("RequestedOptions"), "");
}

TEST_F(RaClient, UnchangedAdvertisementLeavesTheClientAlone) {
    onEth0();
    advertise(R"("m_flag":128)");
    gw.forget();
    advertise(R"("m_flag":128)");
    EXPECT_TRUE(gw.writes().empty());
}

TEST_F(RaClient, FailedAddReadAndWriteAreTold) {
    const struct {
        Operation operation;
        const char* line;
    } kFaults[] = {{Operation::Add, "Add DHCPv6 Client Fail"},
                   {Operation::Get, "Get DHCPv6 Client Fail"},
                   {Operation::Set, "Set DHCPv6 Client Fail"}};
    for (const auto& fault : kFaults) {
        gw.refuseWrite(fault.operation, "DHCPv6.Client.{i}");
        tarnSetDhcp6Client(kPath, true, true);
        EXPECT_TRUE(gw.logged("stdout", fault.line)) << fault.line;
        EXPECT_EQ(client("Enable").find("true"), std::string::npos) << fault.line;
    }
}

}  // namespace
