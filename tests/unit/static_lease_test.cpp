// LAN clients that keep their address.
#include <syslog.h>

#include "mgmt/static_lease.h"

#include "unit/lan_client_support.h"

namespace {

const std::string kTable = "DHCPv4.Server.Pool.2.StaticAddress";
const std::string kFirst = kTable + ".1";
const std::string kVendorClass = "DHCPv4.Server.X_VORAN_VendorClass.VendorClassID";

TEST(VendorMatch, EqualsOneOfTheFiveWholeAndExact) {
    for (const char* place : {"1", "2", "3", "4", "5"}) {
        LanGateway gw;
        gw.set(kVendorClass + place, "voip");
        EXPECT_TRUE(tarnDhcpdVendorMatch("voip")) << place;
        for (const char* other : {"Voip", "voi", "voip ", " voip"}) {
            EXPECT_FALSE(tarnDhcpdVendorMatch(other)) << other;
        }
    }
}

TEST(VendorMatch, AbsentVendorMatchesNobody) {
    LanGateway gw;
    gw.set(kVendorClass + "1", "*");
    gw.set(kVendorClass + "2", "*voip");
    for (const char* vendor : {"", "*", "*voip"}) {
        EXPECT_FALSE(tarnDhcpdVendorMatch(vendor)) << vendor;
    }
}

TEST(VendorMatch, IdentifierLongerThanAnyStoredOneMatchesNobody) {
    LanGateway gw;
    gw.set(kVendorClass + "1", std::string(64, 'v'));
    EXPECT_TRUE(tarnDhcpdVendorMatch(std::string(64, 'v')));
    EXPECT_FALSE(tarnDhcpdVendorMatch(std::string(65, 'v')));
}

TEST(VendorMatch, UnreadableListMatchesNobody) {
    LanGateway gw;
    gw.set(kVendorClass + "1", "voip");
    gw.refuseWrite(inproc::Operation::Get, "DHCPv4.Server.X_VORAN_VendorClass");
    EXPECT_FALSE(tarnDhcpdVendorMatch("voip"));
    inproc::nullRecord("DHCPv4.Server.X_VORAN_VendorClass");
    EXPECT_FALSE(tarnDhcpdVendorMatch("voip"));
    EXPECT_TRUE(gw.loggedContaining("Free NULL pointer. tarn_mgmt "));
}

TEST(PoolAutoStatic, IsThatOfTheInterfacesPool) {
    LanGateway gw;
    gw.set("DHCPv4.Server.Pool.2.X_VORAN_AlwaysStatic", "true");
    EXPECT_TRUE(tarnDhcpdPoolAutoStatic("br0"));
    EXPECT_FALSE(tarnDhcpdPoolAutoStatic("br1"));
}

TEST(PoolAutoStatic, IsFalseWithoutInterfaceOrPool) {
    LanGateway gw;
    gw.set("DHCPv4.Server.Pool.2.X_VORAN_AlwaysStatic", "true");
    EXPECT_FALSE(tarnDhcpdPoolAutoStatic("br9"));
    gw.set("DHCPv4.Server.Pool.2.Interface", "IP.Interface.33");
    EXPECT_FALSE(tarnDhcpdPoolAutoStatic("br0"));
}

TEST(StaticLease, IsAddedToTheInterfacesPool) {
    LanGateway gw;
    EXPECT_EQ(tarnDhcpdStaticAddrSet("br0", "02:00:00:00:00:07", "192.168.1.7"), VCFG_OK);
    EXPECT_EQ(gw.get(kFirst + ".Enable"), "true");
    EXPECT_EQ(gw.get(kFirst + ".Chaddr"), "02:00:00:00:00:07");
    EXPECT_EQ(gw.get(kFirst + ".Yiaddr"), "192.168.1.7");
    EXPECT_EQ(gw.writes(), (Writes{"add " + kFirst, "set " + kFirst}));
    EXPECT_TRUE(gw.onlyLogged("stdout", "add RDM_OID_DHCPV4_SRV_POOL_STATIC_ADDR"));
}

TEST(StaticLease, SameAddressInOtherLetterCaseReusesTheEntry) {
    LanGateway gw;
    tarnDhcpdStaticAddrSet("br0", "02:00:00:00:ab:cd", "192.168.1.7");
    gw.forget();
    EXPECT_EQ(tarnDhcpdStaticAddrSet("br0", "02:00:00:00:AB:CD", "192.168.1.8"), VCFG_OK);
    EXPECT_EQ(gw.count(kTable), 1u);
    EXPECT_EQ(gw.get(kFirst + ".Chaddr"), "02:00:00:00:AB:CD");
    EXPECT_EQ(gw.get(kFirst + ".Yiaddr"), "192.168.1.8");
    EXPECT_TRUE(gw.log().empty());
}

TEST(StaticLease, OfAnotherPoolIsLeftAlone) {
    LanGateway gw;
    tarnDhcpdStaticAddrSet("br1", "02:00:00:00:00:07", "192.168.2.7");
    tarnDhcpdStaticAddrSet("br0", "02:00:00:00:00:07", "192.168.1.7");
    EXPECT_EQ(gw.get("DHCPv4.Server.Pool.1.StaticAddress.1.Yiaddr"), "192.168.2.7");
    EXPECT_EQ(gw.get(kFirst + ".Yiaddr"), "192.168.1.7");
}

TEST(StaticLease, WithoutInterfaceOrPoolIsRefused) {
    LanGateway gw;
    EXPECT_EQ(tarnDhcpdStaticAddrSet("br9", "02:00:00:00:00:07", "192.168.1.7"), VCFG_ERR_FAIL);
    gw.set("DHCPv4.Server.Pool.2.Interface", "");
    gw.forget();
    EXPECT_EQ(tarnDhcpdStaticAddrSet("br0", "02:00:00:00:00:07", "192.168.1.7"), VCFG_ERR_FAIL);
    EXPECT_TRUE(gw.writes().empty());
}

TEST(StaticLease, EntryAddedForAValueThatTheModelRefusesIsDeletedAgain) {
    LanGateway gw;
    const std::string good = "02:00:00:00:00:07";
    for (const auto& [mac, ip] : {std::pair<std::string, std::string>{"02-00-00-00-00-07", "192.168.1.7"},
                                  {"02:00:00:00:00:0g", "192.168.1.7"},
                                  {good + ":08", "192.168.1.7"},
                                  {std::string(5000, 'a'), "192.168.1.7"},
                                  {good, "192.168.1.7777"},
                                  {good, "192.168.1.256"},
                                  {good, "$(reboot)"}}) {
        gw.forget();
        EXPECT_NE(tarnDhcpdStaticAddrSet("br0", mac, ip), VCFG_OK) << mac << ip;
        EXPECT_EQ(gw.count(kTable), 0u) << mac << ip;
        EXPECT_EQ(gw.log().size(), 2u) << mac << ip;
        EXPECT_TRUE(gw.logged("syslog", LOG_ERR, "tarnDhcpdStaticAddrSet : Set StaticAddress fail, ret = -22"));
    }
}

TEST(StaticLease, EntryThatWasThereSurvivesARefusedValue) {
    LanGateway gw;
    tarnDhcpdStaticAddrSet("br0", "02:00:00:00:00:07", "192.168.1.7");
    gw.forget();
    EXPECT_NE(tarnDhcpdStaticAddrSet("br0", "02:00:00:00:00:07", "no address"), VCFG_OK);
    EXPECT_EQ(gw.get(kFirst + ".Yiaddr"), "192.168.1.7");
    EXPECT_TRUE(gw.onlyLogged("syslog", "tarnDhcpdStaticAddrSet : Set StaticAddress fail, ret = -22"));
}

TEST(StaticLease, EntryThatCannotBeReadBackIsDeletedAgain) {
    LanGateway gw;
    gw.refuseWrite(inproc::Operation::Get, "DHCPv4.Server.Pool.{i}.StaticAddress.{i}");
    EXPECT_EQ(tarnDhcpdStaticAddrSet("br0", "02:00:00:00:00:07", "192.168.1.7"), VCFG_ERR_FAIL);
    EXPECT_EQ(gw.count(kTable), 0u);
    EXPECT_TRUE(gw.logged("syslog", LOG_ERR, "tarnDhcpdStaticAddrSet : Get StaticAddress fail, ret = -5"));
}

TEST(StaticLease, FullTableIsToldAndLeftAsItIs) {
    LanGateway gw;
    for (int i = 1; i <= 255; ++i) {
        gw.set(kTable + "." + std::to_string(i) + ".Yiaddr", "192.168.1." + std::to_string(i));
    }
    gw.forget();
    EXPECT_EQ(tarnDhcpdStaticAddrSet("br0", "02:00:00:00:00:07", "192.168.1.7"), VCFG_ERR_FULL);
    EXPECT_TRUE(gw.logged("syslog", LOG_ERR, "tarnDhcpdStaticAddrSet : Add StaticAddress fail, ret = -28"));
    EXPECT_TRUE(gw.writes().empty());
    EXPECT_EQ(gw.count(kTable), 255u);
}

}  // namespace
