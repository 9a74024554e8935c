#include <syslog.h>

#include <string>

#include "connection/dhcpv6_client.h"
#include "connection/ipv6_address.h"
#include "core/path.h"
#include "support/kit.h"

namespace {

using inproc::Operation;
using Writes = std::vector<std::string>;

constexpr const char* kPid = "/var/run/dhcp6c-wan.pid";

// Client 2 runs on IP interface 4, which is up; client 1, without a pid file yet, belongs to interface 1.
class Dhcpv6Base : public testing::Test {
  protected:
    Dhcpv6Base() {
        gw.set("IP.Interface.1.Status", "Up");
        gw.set("IP.Interface.4.Status", "Up");
        gw.set("DHCPv6.Client.1.Interface", "IP.Interface.1");
        gw.set("DHCPv6.Client.2.Interface", "IP.Interface.4");
        gw.set("DHCPv6.Client.2.X_VORAN_PidFile", kPid);
        gw.forget();
    }

    static std::string payload(const std::string& keys) {
        return std::string(R"({"pidfile":")") + kPid + "\"" + keys + "}";
    }
    void report(const std::string& keys) { gw.receive(VCFG_MSG_DHCP6C, payload(keys)); }
    int handle(const std::string& keys) { return processDhcp6cMsg(payload(keys).c_str()); }
    void bound(const std::string& address = "2001:db8::7", const std::string& prefix = "2001:db8:1::/56") {
        report(R"(,"addrAssigned":true,"addr":")" + address + R"(","prefixAssigned":true,"prefix":")" + prefix +
               R"(","nameserver":"2001:db8::53")");
    }
    std::string address(const std::string& parameter) { return gw.get("IP.Interface.4.IPv6Address.1." + parameter); }
    std::string prefix(const std::string& parameter) { return gw.get("IP.Interface.4.IPv6Prefix.1." + parameter); }

    Gateway gw;
};

class Dhcpv6Bound : public Dhcpv6Base {};
class Dhcpv6Timeout : public Dhcpv6Base {
  protected:
    Dhcpv6Timeout() {
        address("1", "Static");
        address("2", "DHCPv6");
        address("3", "DHCPv6");
        prefixOf("1", "Static");
        prefixOf("2", "PrefixDelegation");
        prefixOf("3", "RouterAdvertisement");
        prefixOf("4", "PrefixDelegation");
        gw.set("IP.Interface.1.IPv6Prefix.1.Origin", "PrefixDelegation");
        gw.forget();
    }
    void address(const std::string& instance, const std::string& origin) {
        gw.set("IP.Interface.4.IPv6Address." + instance + ".Origin", origin);
    }
    void prefixOf(const std::string& instance, const std::string& origin) {
        gw.set("IP.Interface.4.IPv6Prefix." + instance + ".Origin", origin);
    }
};
class Dhcpv6BadInput : public Dhcpv6Base {};
class Dhcpv6Address : public Dhcpv6Base {};
class Dhcpv6NullRecord : public Dhcpv6Base {};

TEST_F(Dhcpv6Bound, WritesTheAddress) {
    bound();
    EXPECT_EQ(address("Enable"), "true");
    EXPECT_EQ(address("Status"), "Enabled");
    EXPECT_EQ(address("Origin"), "DHCPv6");
    EXPECT_EQ(address("IPAddress"), "2001:db8::7");
    EXPECT_EQ(address("Prefix"), "");
}

TEST_F(Dhcpv6Bound, WritesTheDelegatedPrefix) {
    bound();
    EXPECT_EQ(prefix("Enable"), "true");
    EXPECT_EQ(prefix("Status"), "Enabled");
    EXPECT_EQ(prefix("Origin"), "PrefixDelegation");
    EXPECT_EQ(prefix("Prefix"), "2001:db8:1::/56");
}

TEST_F(Dhcpv6Bound, WritesServerAddressDnsAndPrefixInThatOrder) {
    bound();
    EXPECT_EQ(gw.writes(),
              (Writes{"add DNS.Client.Server.1", "set DNS.Client.Server.1", "add IP.Interface.4.IPv6Address.1",
                      "set IP.Interface.4.IPv6Address.1", "set DNS.Client", "add IP.Interface.4.IPv6Prefix.1",
                      "set IP.Interface.4.IPv6Prefix.1"}));
    EXPECT_EQ(gw.get("DNS.Client.Server.1.Type"), "DHCPv6");
    EXPECT_EQ(gw.get("DNS.Client.Server.1.Interface"), "IP.Interface.4");
}

TEST_F(Dhcpv6Bound, SecondReportReusesTheInstances) {
    bound();
    bound("2001:db8::8", "2001:db8:2::/56");
    EXPECT_EQ(inproc::instancesOf("IP.Interface.4.IPv6Address").size(), 1u);
    EXPECT_EQ(inproc::instancesOf("IP.Interface.4.IPv6Prefix").size(), 1u);
    EXPECT_EQ(address("IPAddress"), "2001:db8::8");
    EXPECT_EQ(prefix("Prefix"), "2001:db8:2::/56");
}

TEST_F(Dhcpv6Bound, InstancesOfOtherOriginsAreLeftAlone) {
    gw.set("IP.Interface.4.IPv6Address.1.Origin", "AutoConfigured");
    gw.set("IP.Interface.4.IPv6Prefix.1.Origin", "RouterAdvertisement");
    bound();
    EXPECT_EQ(gw.get("IP.Interface.4.IPv6Address.2.IPAddress"), "2001:db8::7");
    EXPECT_EQ(gw.get("IP.Interface.4.IPv6Prefix.2.Prefix"), "2001:db8:1::/56");
    EXPECT_EQ(address("IPAddress"), "");
}

TEST_F(Dhcpv6Bound, AssignedWithoutAddressWritesNoneAndGoesOn) {
    report(R"(,"addrAssigned":true,"prefixAssigned":true,"prefix":"2001:db8:1::/56")");
    EXPECT_EQ(gw.writes(),
              (Writes{"set DNS.Client", "add IP.Interface.4.IPv6Prefix.1", "set IP.Interface.4.IPv6Prefix.1"}));
}

TEST_F(Dhcpv6Bound, TextsWithoutTheirFlagAreNotRead) {
    report(R"(,"addr":"2001:db8::7","prefix":"2001:db8:1::/56")");
    EXPECT_EQ(gw.writes(), Writes{"set DNS.Client"});
}

TEST_F(Dhcpv6Bound, InterfaceThatIsNotUpWritesNothing) {
    for (const char* status : {"Down", "LowerLayerDown", "Unknown"}) {
        gw.set("IP.Interface.4.Status", status);
        bound();
        EXPECT_TRUE(gw.writes().empty()) << status;
    }
    EXPECT_EQ(handle(R"(,"addrAssigned":true,"addr":"2001:db8::7")"), VCFG_OK);
}

TEST_F(Dhcpv6Bound, UnreadableInterfaceCountsAsUp) {
    gw.refuseWrite(Operation::Get, "IP.Interface.{i}");
    bound();
    EXPECT_EQ(address("IPAddress"), "2001:db8::7");
}

TEST_F(Dhcpv6Bound, FirstOfTwoClientsWithOnePidFileIsMeant) {
    gw.set("DHCPv6.Client.3.Interface", "IP.Interface.1");
    gw.set("DHCPv6.Client.3.X_VORAN_PidFile", kPid);
    bound();
    EXPECT_EQ(address("IPAddress"), "2001:db8::7");
    EXPECT_FALSE(gw.exists("IP.Interface.1.IPv6Address.1"));
}

TEST_F(Dhcpv6Bound, RefusedAddressSkipsDnsAndPrefix) {
    gw.set("IP.Interface.4.IPv6Address.1.Origin", "DHCPv6");
    gw.forget();
    gw.refuseWrite(Operation::Set, "IP.Interface.{i}.IPv6Address.{i}", 2);
    EXPECT_EQ(handle(R"(,"addrAssigned":true,"addr":"2001:db8::7","prefixAssigned":true,"prefix":"2001:db8:1::/56")"),
              VCFG_ERR_FAIL);
    EXPECT_TRUE(gw.logged("syslog", LOG_ERR, "tarnSetIpv6Addr : Can't set IPv6Address.i"));
    EXPECT_TRUE(gw.logged("syslog", LOG_ERR, "processDhcp6cMsg : Configure IPv6 Address Fail"));
    EXPECT_TRUE(gw.writes().empty());
}

TEST_F(Dhcpv6Bound, AddressThatCannotBeAddedFails) {
    gw.refuseWrite(Operation::Add, "IP.Interface.{i}.IPv6Address.{i}");
    EXPECT_EQ(handle(R"(,"addrAssigned":true,"addr":"2001:db8::7")"), VCFG_ERR_FAIL);
    EXPECT_TRUE(gw.logged("syslog", LOG_ERR, "tarnAddIpv6Addr : Add IPv6 Address Fail"));
    EXPECT_TRUE(gw.logged("syslog", LOG_ERR, "processDhcp6cMsg : Configure IPv6 Address Fail"));
}

TEST_F(Dhcpv6Bound, AddedAddressThatCannotBeReadFails) {
    gw.refuseWrite(Operation::Get, "IP.Interface.{i}.IPv6Address.{i}");
    EXPECT_EQ(handle(R"(,"addrAssigned":true,"addr":"2001:db8::7")"), VCFG_ERR_FAIL);
    EXPECT_TRUE(gw.logged("syslog", LOG_ERR, "tarnSetIpv6Addr : Can't get IPv6Address.i"));
}

TEST_F(Dhcpv6Bound, PrefixThatCannotBeAddedReadOrWrittenFails) {
    const struct {
        Operation operation;
        const char* line;
    } kFaults[] = {{Operation::Add, "tarnAddIpv6Prefix : Add IPv6 Prefix Fail"},
                   {Operation::Get, "tarnSetIpv6Prefix : Can't get IPv6Prefix.i"},
                   {Operation::Set, "tarnSetIpv6Prefix : Can't set IPv6Prefix.i"}};
    for (const auto& fault : kFaults) {
        gw.forget();
        gw.refuseWrite(fault.operation, "IP.Interface.{i}.IPv6Prefix.{i}");
        EXPECT_EQ(handle(R"(,"prefixAssigned":true,"prefix":"2001:db8:1::/56")"), VCFG_ERR_FAIL) << fault.line;
        EXPECT_TRUE(gw.logged("syslog", LOG_ERR, fault.line)) << fault.line;
        EXPECT_TRUE(gw.logged("syslog", LOG_ERR, "processDhcp6cMsg : Configure IPv6 Prefix Fail"));
    }
}

TEST_F(Dhcpv6Bound, FailedDnsUpdateIsToldAndThePrefixWritten) {
    gw.refuseWrite(Operation::Set, "DNS.Client");
    bound();
    EXPECT_TRUE(gw.logged("stdout", "processDhcp6cMsg : Update Default DNS Server Fail"));
    EXPECT_EQ(prefix("Prefix"), "2001:db8:1::/56");
}

TEST_F(Dhcpv6Timeout, DeletesOneAddressAndEveryPrefixThatIsNotStatic) {
    report(R"(,"timeout":true)");
    EXPECT_EQ(gw.writes(), (Writes{"delete IP.Interface.4.IPv6Address.2", "delete IP.Interface.4.IPv6Prefix.2",
                                   "delete IP.Interface.4.IPv6Prefix.3", "delete IP.Interface.4.IPv6Prefix.4"}));
}

TEST_F(Dhcpv6Timeout, WritesNothingOfTheReportsOtherKeys) {
    report(R"(,"timeout":true,"addrAssigned":true,"addr":"2001:db8::7","nameserver":"2001:db8::53")");
    EXPECT_FALSE(gw.exists("DNS.Client.Server.1"));
}

TEST_F(Dhcpv6Timeout, RefusedDeletionsDoNotStopTheOthers) {
    gw.refuseWrite(Operation::Delete, "IP.Interface.{i}.IPv6Address.{i}");
    gw.refuseWrite(Operation::Delete, "IP.Interface.{i}.IPv6Prefix.{i}");
    EXPECT_EQ(handle(R"(,"timeout":true)"), VCFG_OK);
    EXPECT_EQ(gw.writes(), (Writes{"delete IP.Interface.4.IPv6Prefix.3", "delete IP.Interface.4.IPv6Prefix.4"}));
}

TEST_F(Dhcpv6Timeout, EachRefusedDeletionIsLoggedAndNothingElse) {
    gw.refuseWrite(Operation::Delete, "IP.Interface.{i}.IPv6Address.{i}");
    EXPECT_EQ(handle(R"(,"timeout":true)"), VCFG_OK);
    EXPECT_TRUE(gw.logged("vlog", VLOG_ERROR, "cannot delete the address of IP.Interface.4"));
    EXPECT_FALSE(gw.loggedContaining("cannot delete a prefix"));
    gw.forget();
    prefixOf("2", "PrefixDelegation");
    gw.refuseWrite(Operation::Delete, "IP.Interface.{i}.IPv6Prefix.{i}");
    EXPECT_EQ(handle(R"(,"timeout":true)"), VCFG_OK);
    EXPECT_TRUE(gw.logged("vlog", VLOG_ERROR, "cannot delete a prefix of IP.Interface.4"));
    EXPECT_FALSE(gw.loggedContaining("cannot delete the address"));
}

TEST_F(Dhcpv6Timeout, UnknownClientReturnsTheCodeThatEndedTheSearch) {
    gw.refuseWrite(Operation::Next, "DHCPv6.Client.{i}");
    inproc::fail(Operation::Next, "DHCPv6.Client.{i}", 1, VCFG_ERR_TIMEOUT);
    EXPECT_EQ(handle(R"(,"timeout":true)"), VCFG_ERR_TIMEOUT);
    EXPECT_EQ(processDhcp6cMsg(R"({"timeout":true,"pidfile":"/other"})"), VCFG_ERR_NOT_FOUND);
    EXPECT_TRUE(gw.writes().empty());
}

TEST_F(Dhcpv6BadInput, ReportOfAnUnknownClientWritesNothing) {
    for (const char* pidFile : {"", R"("pidfile":"",)", R"("pidfile":null,)", R"("pidfile":["x"],)",
                                R"("pidfile":"/var/run/dhcp6c-wan.pi",)", R"("pidfile":17,)"}) {
        gw.forget();
        const std::string keys = R"("addrAssigned":true,"addr":"2001:db8::7","nameserver":"2001:db8::53")";
        EXPECT_EQ(processDhcp6cMsg((std::string("{") + pidFile + keys + "}").c_str()), VCFG_ERR_NOT_FOUND) << pidFile;
        EXPECT_TRUE(gw.writes().empty()) << pidFile;
        EXPECT_TRUE(gw.loggedContaining("no DHCPv6 client has the pid file")) << pidFile;
        EXPECT_EQ(gw.log().size(), 1u) << pidFile;
    }
}

TEST_F(Dhcpv6BadInput, PayloadThatIsNoObjectWritesNothing) {
    for (const char* payload : {"", "[]", "true", "{", "\"timeout\""}) {
        EXPECT_EQ(processDhcp6cMsg(payload), VCFG_ERR_NOT_FOUND) << payload;
        EXPECT_TRUE(gw.writes().empty()) << payload;
    }
    EXPECT_EQ(processDhcp6cMsg(nullptr), VCFG_ERR_NOT_FOUND);
}

TEST_F(Dhcpv6BadInput, EmptyTextsReadAsMissing) {
    report(R"(,"addrAssigned":true,"addr":"","prefixAssigned":true,"prefix":"","nameserver":"")");
    EXPECT_EQ(gw.writes(), Writes{"set DNS.Client"});
    EXPECT_FALSE(gw.loggedContaining("Fail"));
    bound("", "");
    report(R"(,"nameserver":"")");
    EXPECT_FALSE(gw.exists("IP.Interface.4.IPv6Address.1"));
    EXPECT_FALSE(gw.exists("IP.Interface.4.IPv6Prefix.1"));
    EXPECT_EQ(gw.get("DNS.Client.Server.1.DNSServer"), "2001:db8::53");
}

TEST_F(Dhcpv6BadInput, TextsOfOtherTypesAreMissingOrRefused) {
    for (const char* value : {"null", "{}", "[1]", "7", "true"}) {
        report(std::string(R"(,"addrAssigned":true,"addr":)") + value);
        EXPECT_EQ(address("IPAddress"), "") << value;
        report(std::string(R"(,"prefixAssigned":true,"prefix":)") + value);
        EXPECT_EQ(prefix("Prefix"), "") << value;
    }
}

TEST_F(Dhcpv6BadInput, TextsThatAreNoAddressAreRefusedWhole) {
    bound();
    for (const std::string& bad : {std::string("$(reboot)"), std::string("192.0.2.1"), std::string(300, '1'),
                                   "0000:0000:0000:0000:0000:ffff:255.255.255.255" + std::string(20, '5')}) {
        bound(bad, bad + "/64");
        EXPECT_EQ(address("IPAddress"), "2001:db8::7") << bad;
        EXPECT_EQ(prefix("Prefix"), "2001:db8:1::/56") << bad;
    }
}

TEST_F(Dhcpv6BadInput, ClientWhoseInterfaceIsNoneWritesNothing) {
    for (const char* path : {"", "IP.Interface.", "IP.Interface.0", "IP.Interface.256", "IP.Interface.-4",
                             "IP.Interface.99999999999", "Ethernet.Interface.4"}) {
        gw.set("DHCPv6.Client.2.Interface", path);
        gw.forget();
        bound();
        report(R"(,"timeout":true)");
        EXPECT_TRUE(gw.writes().empty()) << path;
        EXPECT_TRUE(gw.loggedContaining("the client's interface")) << path;
    }
}

TEST_F(Dhcpv6Address, OtherOriginsAreNotWritten) {
    EXPECT_EQ(tarnSetIpv6Addr(instanceId({4}), "2001:db8::7", "Static", std::nullopt, true), VCFG_OK);
    EXPECT_EQ(tarnSetIpv6Prefix(instanceId({4}), "2001:db8::/64", "DHCPv6", true), VCFG_OK);
    EXPECT_TRUE(gw.writes().empty());
}

TEST_F(Dhcpv6Address, DisablingWritesTheStatusDisabled) {
    EXPECT_EQ(tarnSetIpv6Addr(instanceId({4}), "2001:db8::7", "DHCPv6", "IP.Interface.4.IPv6Prefix.1", false), VCFG_OK);
    EXPECT_EQ(address("Enable"), "false");
    EXPECT_EQ(address("Status"), "Disabled");
    EXPECT_EQ(address("Prefix"), "IP.Interface.4.IPv6Prefix.1");
    EXPECT_EQ(tarnSetIpv6Prefix(instanceId({4}), "2001:db8::/64", "PrefixDelegation", false), VCFG_OK);
    EXPECT_EQ(prefix("Status"), "Disabled");
}

TEST_F(Dhcpv6Address, AddedInstancesIdIsHandedBack) {
    objIndex added = instanceId({4});
    EXPECT_EQ(tarnAddIpv6Addr(added), VCFG_OK);
    EXPECT_TRUE(added == instanceId({4, 1}));
    objIndex nowhere = instanceId({9});
    EXPECT_EQ(tarnAddIpv6Prefix(nowhere), VCFG_ERR_FAIL);
}

TEST_F(Dhcpv6NullRecord, IsNamedAndTheReportGoesOn) {
    for (const char* pattern : {"IP.Interface.{i}", "IP.Interface.{i}.IPv6Address.{i}",
                                "IP.Interface.{i}.IPv6Prefix.{i}", "DNS.Client.Server.{i}"}) {
        gw.forget();
        inproc::nullRecord(pattern);
        bound();
        EXPECT_TRUE(gw.loggedContaining("Free NULL pointer. tarn_connection ")) << pattern;
        EXPECT_EQ(prefix("Prefix"), "2001:db8:1::/56") << pattern;
    }
}

TEST_F(Dhcpv6NullRecord, OfTheClientMakesTheReportNobodys) {
    inproc::nullRecord("DHCPv6.Client.{i}");
    EXPECT_EQ(handle(R"(,"nameserver":"2001:db8::53")"), VCFG_ERR_NOT_FOUND);
    EXPECT_TRUE(gw.loggedContaining("Free NULL pointer. tarn_connection "));
    EXPECT_TRUE(gw.writes().empty());
}

}  // namespace
