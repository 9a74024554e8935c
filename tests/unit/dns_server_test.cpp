#include <string>

#include "connection/dns_client.h"
#include "core/path.h"
#include "support/kit.h"

namespace {

using inproc::Operation;
using Writes = std::vector<std::string>;

class DnsServer : public testing::Test {
  protected:
    void learn(const std::string& server = "2001:db8::53") {
        tarnSetDnsClientServer(instanceId({2}), server, "DHCPv6");
    }
    void entry(const std::string& instance, const std::string& interface, const std::string& type,
               const std::string& server) {
        const std::string path = "DNS.Client.Server." + instance;
        gw.set(path + ".Interface", interface);
        gw.set(path + ".Type", type);
        gw.set(path + ".DNSServer", server);
        gw.forget();
    }
    std::string value(const std::string& parameter) { return gw.get("DNS.Client.Server." + parameter); }

    Gateway gw;
};

class DnsUpdate : public DnsServer {};
class DnsPppServer : public DnsServer {};

TEST_F(DnsServer, FirstServerIsANewEntry) {
    learn();
    EXPECT_EQ(value("1.Enable"), "true");
    EXPECT_EQ(value("1.Interface"), "IP.Interface.2");
    EXPECT_EQ(value("1.Type"), "DHCPv6");
    EXPECT_EQ(value("1.X_VORAN_Origin"), "DHCPv6");
    EXPECT_EQ(value("1.DNSServer"), "2001:db8::53");
    EXPECT_EQ(gw.writes(), (Writes{"add DNS.Client.Server.1", "set DNS.Client.Server.1"}));
}

TEST_F(DnsServer, SecondReportOverwritesTheEntryOfItsOrigin) {
    learn();
    learn("2001:db8::54");
    EXPECT_EQ(value("1.DNSServer"), "2001:db8::54");
    EXPECT_EQ(inproc::instancesOf("DNS.Client.Server").size(), 1u);
}

TEST_F(DnsServer, EntriesOfOtherInterfacesAndOriginsAreLeftAlone) {
    entry("1", "IP.Interface.1", "DHCPv6", "2001:db8::1");
    entry("2", "IP.Interface.2", "DHCPv4", "192.0.2.1");
    entry("3", "IP.Interface.22", "DHCPv6", "2001:db8::22");
    learn();
    EXPECT_EQ(gw.writes(), (Writes{"add DNS.Client.Server.4", "set DNS.Client.Server.4"}));
}

TEST_F(DnsServer, FreeEntryIsReusedBeforeOneIsAdded) {
    entry("1", "IP.Interface.1", "DHCPv6", "2001:db8::1");
    entry("4", "", "Static", "");
    learn();
    EXPECT_EQ(value("4.Interface"), "IP.Interface.2");
    EXPECT_EQ(inproc::instancesOf("DNS.Client.Server").size(), 2u);
}

TEST_F(DnsServer, StaticIpv6ServerAlwaysWins) {
    entry("1", "IP.Interface.2", "Static", "2001:db8::aaaa");
    entry("2", "IP.Interface.2", "DHCPv6", "2001:db8::1");
    learn();
    EXPECT_TRUE(gw.writes().empty());
}

TEST_F(DnsServer, StaticIpv4ServerDoesNotBlock) {
    entry("1", "IP.Interface.2", "Static", "192.0.2.53");
    learn();
    EXPECT_EQ(value("2.DNSServer"), "2001:db8::53");
}

TEST_F(DnsServer, StaticIpv6ServerOfAnotherInterfaceDoesNotBlock) {
    entry("1", "IP.Interface.1", "Static", "2001:db8::aaaa");
    learn();
    EXPECT_EQ(value("2.DNSServer"), "2001:db8::53");
}

TEST_F(DnsServer, EntryOfTheOriginBeforeAStaticOneIsTaken) {
    entry("1", "IP.Interface.2", "DHCPv6", "2001:db8::1");
    entry("2", "IP.Interface.2", "Static", "2001:db8::aaaa");
    learn();
    EXPECT_EQ(value("1.DNSServer"), "2001:db8::53");
}

TEST_F(DnsServer, FailedAddIsOneLine) {
    gw.refuseWrite(Operation::Add, "DNS.Client.Server.{i}");
    learn();
    EXPECT_TRUE(gw.logged("stdout", "Add DNS.Client.Server Fail"));
    EXPECT_EQ(gw.log().size(), 1u);
    EXPECT_TRUE(gw.writes().empty());
}

TEST_F(DnsServer, FailedReadOfTheNewEntryIsOneLine) {
    gw.refuseWrite(Operation::Get, "DNS.Client.Server.{i}");
    learn();
    EXPECT_TRUE(gw.logged("stdout", "Get DNS.Client.Server Fail"));
    EXPECT_EQ(gw.log().size(), 1u);
}

TEST_F(DnsServer, RefusedWriteIsOneLine) {
    gw.refuseWrite(Operation::Set, "DNS.Client.Server.{i}");
    learn();
    EXPECT_TRUE(gw.logged("stdout", "Set RouteInformation.InterfaceSetting Fail"));
    EXPECT_EQ(gw.log().size(), 1u);
}

TEST_F(DnsServer, TextThatIsNoAddressIsRefused) {
    entry("1", "IP.Interface.2", "DHCPv6", "2001:db8::1");
    for (const std::string& bad : {std::string("$(reboot)"), std::string("2001:db8::g"), std::string(200, '1'),
                                   "2001:db8::53" + std::string(40, ' ')}) {
        learn(bad);
        EXPECT_EQ(value("1.DNSServer"), "2001:db8::1") << bad;
    }
    EXPECT_TRUE(gw.logged("stdout", "Set RouteInformation.InterfaceSetting Fail"));
}

TEST_F(DnsUpdate, WritesTheClientBackUnchanged) {
    gw.set("DNS.Client.Enable", "true");
    gw.forget();
    EXPECT_EQ(vcfgTarnDnsUpdate(), VCFG_OK);
    EXPECT_EQ(gw.writes(), Writes{"set DNS.Client"});
    EXPECT_EQ(gw.get("DNS.Client.Enable"), "true");
}

TEST_F(DnsUpdate, HandsTheClientToItsOwnerSoThatDnsIsAppliedAgain) {
    inproc::ownerApplies("DNS.Client");
    EXPECT_EQ(vcfgTarnDnsUpdate(), VCFG_OK);
    EXPECT_EQ(vcfgTarnDnsUpdate(), VCFG_OK);
    EXPECT_EQ(inproc::applied(), (Writes{"set DNS.Client", "set DNS.Client"}));
}

TEST_F(DnsUpdate, FailedReadIsToldAndReturned) {
    gw.refuseWrite(Operation::Get, "DNS.Client");
    EXPECT_EQ(vcfgTarnDnsUpdate(), VCFG_ERR_FAIL);
    EXPECT_TRUE(gw.logged("stdout", "vcfgTarnDnsUpdate : Get DNS Fail"));
    EXPECT_TRUE(gw.writes().empty());
}

TEST_F(DnsUpdate, FailedWriteIsToldAndReturned) {
    gw.refuseWrite(Operation::Set, "DNS.Client");
    EXPECT_EQ(vcfgTarnDnsUpdate(), VCFG_ERR_FAIL);
    EXPECT_TRUE(gw.logged("stdout", "vcfgTarnDnsUpdate : Set DNS Fail"));
}

TEST_F(DnsUpdate, NullObjectIsToldInTheFrameworkLog) {
    inproc::nullRecord("DNS.Client");
    EXPECT_EQ(vcfgTarnDnsUpdate(), VCFG_ERR_FAIL);
    EXPECT_TRUE(gw.logged("vlog", VLOG_DEBUG, "Free NULL pointer"));
}

TEST_F(DnsPppServer, ChangedServerIsStored) {
    entry("1", "IP.Interface.1", "IPCP", "192.0.2.1");
    entry("2", "IP.Interface.2", "Static", "192.0.2.1");
    entry("3", "IP.Interface.2", "IPCP", "192.0.2.1");
    tarnSetDnsServer(instanceId({2}), "192.0.2.9");
    EXPECT_EQ(value("3.DNSServer"), "192.0.2.9");
    EXPECT_EQ(gw.writes(), Writes{"set DNS.Client.Server.3"});
    EXPECT_TRUE(gw.logged("stdout", "DNS change! New dns = 192.0.2.9"));
}

TEST_F(DnsPppServer, UnchangedServerWritesNothing) {
    entry("1", "IP.Interface.2", "IPCP", "192.0.2.9");
    tarnSetDnsServer(instanceId({2}), "192.0.2.9");
    EXPECT_TRUE(gw.writes().empty());
    EXPECT_TRUE(gw.log().empty());
}

TEST_F(DnsPppServer, RefusedWriteIsTold) {
    entry("1", "IP.Interface.2", "IPCP", "192.0.2.1");
    gw.refuseWrite(Operation::Set, "DNS.Client.Server.{i}");
    tarnSetDnsServer(instanceId({2}), "192.0.2.9");
    EXPECT_TRUE(gw.logged("stdout", "tarnSetDnsServer : Set DNS Server Fail"));
}

}  // namespace
