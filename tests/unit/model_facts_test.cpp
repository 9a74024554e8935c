// Holds the model against tr181_names.tsv, the standard names, kinds, lengths, choices and defaults, written down
// independently of it.
#include <gtest/gtest.h>

#include <fstream>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "model/describe.h"

using vcfg::model::Kind;
using vcfg::model::Object;
using vcfg::model::Parameter;

namespace {

struct Fact {
    std::string object, parameter, kind, length, access, choices, dflt;

    std::string name() const { return object + "." + parameter; }
};

std::vector<Fact> readFacts() {
    std::ifstream file(TR181_NAMES);
    std::vector<Fact> facts;
    std::string line;
    std::getline(file, line);
    while (std::getline(file, line)) {
        std::istringstream columns(line);
        Fact fact;
        for (std::string* column :
             {&fact.object, &fact.parameter, &fact.kind, &fact.length, &fact.access, &fact.choices, &fact.dflt}) {
            std::getline(columns, *column, '\t');
        }
        facts.push_back(fact);
    }
    return facts;
}

const std::map<std::string, Kind> kKinds = {
    {"boolean", Kind::Bool},       {"int", Kind::Int},   {"unsigned", Kind::Uint},         {"long", Kind::Long},
    {"unsignedLong", Kind::Ulong}, {"text", Kind::Text}, {"choice", Kind::Enum},           {"ipv4", Kind::Ipv4},
    {"ipv6", Kind::Ipv6},          {"ip", Kind::Ip},     {"ipv6prefix", Kind::Ipv6Prefix}, {"mac", Kind::Mac},
    {"time", Kind::Time}};

// Where the model leaves the standard on purpose: another kind or length, or choices beyond the standard's.
const std::map<std::string, Kind> kOtherKind = {
    {"PPP.Interface.{i}.IPv6CP.LocalInterfaceIdentifier", Kind::Text},  // an identifier is half an address
    {"PPP.Interface.{i}.IPv6CP.RemoteInterfaceIdentifier", Kind::Text},
    {"Routing.RouteInformation.InterfaceSetting.{i}.RouteLifetime", Kind::Uint},  // seconds since the epoch
};
const std::map<std::string, std::string> kOtherLength = {{"DHCPv4.Client.{i}.ReqOption.{i}.Value", "512"}};
const std::map<std::string, std::string> kMoreChoices = {{"DHCPv4.Client.{i}.DHCPStatus", ",Release"},
                                                         {"Routing.Router.{i}.IPv4Forwarding.{i}.Origin", ",DHCP"}};
// Added under a name without the vendor's mark: the wireless programs know it so.
const std::set<std::string> kAddedUnmarked = {"WiFi.AccessPoint.{i}.WPS.WPSRunning"};
// Filters by the 64 KiB identifiers of LAN hosts, which would make the record larger than a message.
const std::set<std::string> kLeftOut = {
    "Bridging.Filter.{i}.SourceMACFromVendorClassIDFilterv6", "Bridging.Filter.{i}.DestMACFromVendorClassIDFilterv6",
    "Bridging.Filter.{i}.SourceMACFromClientIDFilter",        "Bridging.Filter.{i}.DestMACFromClientIDFilter",
    "Bridging.Filter.{i}.SourceMACFromUserClassIDFilter",     "Bridging.Filter.{i}.DestMACFromUserClassIDFilter"};

template <class Value>
Value except(const std::map<std::string, Value>& exceptions, const std::string& name, const Value& otherwise) {
    const auto found = exceptions.find(name);
    return found != exceptions.end() ? found->second : otherwise;
}

const Object* objectOf(const std::string& pattern) {
    for (const Object& object : vcfg::model::objects()) {
        if (object.pattern == pattern) {
            return &object;
        }
    }
    return nullptr;
}

const Parameter* parameterOf(const Fact& fact) {
    const Object* object = objectOf(fact.object);
    return object != nullptr ? find(*object, fact.parameter) : nullptr;
}

template <class Check>
void forEachModelled(Check check) {
    for (const Fact& fact : readFacts()) {
        if (const Parameter* parameter = parameterOf(fact)) {
            check(fact, *parameter);
        }
    }
}

}  // namespace

TEST(ModelFacts, TableOfNamesIsThere) {
    EXPECT_GT(readFacts().size(), 500u);
}

TEST(ModelFacts, EveryStandardParameterIsModelled) {
    for (const Fact& fact : readFacts()) {
        EXPECT_EQ(parameterOf(fact) == nullptr, kLeftOut.contains(fact.name())) << fact.name();
    }
}

TEST(ModelFacts, EveryNameIsTheStandardsOrMarkedAsAdded) {
    std::set<std::string> standard;
    std::set<std::string> standardObjects;
    for (const Fact& fact : readFacts()) {
        standard.insert(fact.name());
        standardObjects.insert(fact.object);
    }
    for (const Object& object : vcfg::model::objects()) {
        const std::string pattern = object.pattern;
        EXPECT_TRUE(standardObjects.contains(pattern) || pattern.find("X_VORAN_") != pattern.npos) << pattern;
        for (const Parameter& parameter : object.parameters) {
            const std::string name = pattern + "." + parameter.name;
            EXPECT_TRUE(standard.contains(name) || name.find("X_VORAN_") != name.npos || kAddedUnmarked.contains(name))
                << name;
        }
    }
}

TEST(ModelFacts, KindsAreTheStandards) {
    forEachModelled([](const Fact& fact, const Parameter& parameter) {
        ASSERT_TRUE(kKinds.contains(fact.kind)) << fact.kind;
        EXPECT_EQ(parameter.kind, except(kOtherKind, fact.name(), kKinds.at(fact.kind))) << fact.name();
    });
}

TEST(ModelFacts, TextsHoldWhatTheStandardAllows) {
    forEachModelled([](const Fact& fact, const Parameter& parameter) {
        if (fact.kind == "text") {
            EXPECT_EQ(std::to_string(parameter.size - 1), except(kOtherLength, fact.name(), fact.length))
                << fact.name();
        }
    });
}

TEST(ModelFacts, ChoicesAreTheStandards) {
    forEachModelled([](const Fact& fact, const Parameter& parameter) {
        EXPECT_EQ(parameter.values, fact.choices + except(kMoreChoices, fact.name(), std::string())) << fact.name();
    });
}

TEST(ModelFacts, ChoicesFitTheirField) {
    for (const Object& object : vcfg::model::objects()) {
        for (const Parameter& parameter : object.parameters) {
            std::istringstream values(parameter.values);
            for (std::string value; std::getline(values, value, ',');) {
                EXPECT_LT(value.size(), parameter.size) << object.pattern << "." << parameter.name << ": " << value;
            }
        }
    }
}

TEST(ModelFacts, AccessIsTheStandards) {
    forEachModelled([](const Fact& fact, const Parameter& parameter) {
        EXPECT_EQ(parameter.isWritable(), fact.access == "writable") << fact.name();
    });
}

// What authenticates somebody is named so, in the standard and in what is added to it.
bool soundsSecret(std::string_view name) {
    for (const char* word : {"Password", "Passphrase", "PresharedKey", "PreSharedKey", "WEPKey", "Secret", "PIN"}) {
        if (name.ends_with(word)) {
            return true;
        }
    }
    return false;
}

TEST(ModelFacts, WhatAuthenticatesIsSecretAndNothingElse) {
    std::set<std::string> secrets;
    for (const Object& object : vcfg::model::objects()) {
        for (const Parameter& parameter : object.parameters) {
            const std::string name = std::string(object.pattern) + "." + parameter.name;
            EXPECT_EQ(parameter.isSecret(), parameter.isText() && soundsSecret(parameter.name)) << name;
            if (parameter.isSecret()) {
                secrets.insert(name);
            }
        }
    }
    for (const char* name :
         {"PPP.Interface.{i}.Password", "ManagementServer.Password", "ManagementServer.ConnectionRequestPassword",
          "ManagementServer.STUNPassword", "WiFi.AccessPoint.{i}.WPS.PIN", "X_VORAN_MailAccount.{i}.Password",
          "X_VORAN_SystemDebug.Password"}) {
        EXPECT_EQ(secrets.count(name), 1u) << name;
    }
}

// The device itself writes these, over and over: they would wear out the flash, and mean nothing after a power cycle.
TEST(ModelFacts, ReadWriteParametersAreConfigurationButForRequestsAndWhatALinkSets) {
    const std::set<std::string> live = {"DiagnosticsState", "Renew", "Reset"};
    for (const Object& object : vcfg::model::objects()) {
        for (const Parameter& parameter : object.parameters) {
            const std::string name = std::string(object.pattern) + "." + parameter.name;
            const bool isLive = live.contains(parameter.name) || name == "Ethernet.Interface.{i}.MaxBitRate" ||
                                name == "Ethernet.Interface.{i}.DuplexMode";
            if (parameter.isWritable()) {
                EXPECT_EQ(parameter.isPersistent(), !isLive) << name;
            }
            EXPECT_FALSE(parameter.isPersistent() && parameter.countedOid != RDM_OID_NONE) << name;
        }
    }
}

// Found by these again after a power cycle, when nobody has reported anything yet.
TEST(ModelFacts, WhatAThingIsOutlivesAPowerCycleAndWhatItDoesDoesNot) {
    const auto persists = [](const char* pattern, const char* name) {
        return find(*objectOf(pattern), name)->isPersistent();
    };
    EXPECT_TRUE(persists("DeviceInfo", "FirstUseDate"));
    EXPECT_TRUE(persists("DeviceInfo", "SerialNumber"));
    EXPECT_TRUE(persists("Ethernet.Interface.{i}", "Name"));
    EXPECT_TRUE(persists("InterfaceStack.{i}", "LowerLayer"));
    EXPECT_TRUE(persists("DNS.Client.Server.{i}", "Type"));
    EXPECT_TRUE(persists("Routing.Router.{i}.IPv4Forwarding.{i}", "Origin"));
    EXPECT_FALSE(persists("DHCPv4.Client.{i}", "DHCPStatus"));
    EXPECT_FALSE(persists("DHCPv4.Client.{i}", "IPAddress"));
    EXPECT_FALSE(persists("IP.Interface.{i}", "Status"));
    EXPECT_FALSE(persists("DeviceInfo", "UpTime"));
}

TEST(ModelFacts, DefaultsAreTheStandards) {
    forEachModelled([](const Fact& fact, const Parameter& parameter) {
        if (!fact.dflt.empty()) {
            const std::string dflt =
                parameter.kind == Kind::Bool ? (*parameter.dflt == '1' ? "true" : "false") : parameter.dflt;
            EXPECT_EQ(dflt, fact.dflt) << fact.name();
        }
    });
}

TEST(ModelFacts, DefaultsAreValid) {
    for (const Object& object : vcfg::model::objects()) {
        std::vector<char> record(object.size);
        for (const Parameter& parameter : object.parameters) {
            std::string why;
            EXPECT_TRUE(setValue(parameter, record.data(), parameter.dflt, &why)) << object.pattern << ": " << why;
        }
    }
}

TEST(ModelFacts, CountersCountTheirTable) {
    const Parameter* addresses = find(*objectOf("IP.Interface.{i}"), "IPv4AddressNumberOfEntries");
    EXPECT_EQ(addresses->countedOid, RDM_OID_IP_IFACE_V4_ADDR);
    EXPECT_EQ(find(*objectOf("IP"), "InterfaceNumberOfEntries")->countedOid, RDM_OID_IP_IFACE);
    EXPECT_EQ(find(*objectOf("DNS.Client"), "ServerNumberOfEntries")->countedOid, RDM_OID_DNS_CLIENT_SERVER);
}

TEST(ModelFacts, ACounterOfATableThatIsNotModelledIsAnOrdinaryNumber) {
    EXPECT_EQ(find(*objectOf("IP"), "ActivePortNumberOfEntries")->countedOid, RDM_OID_NONE);
}

TEST(ModelFacts, AReportedCountIsAnOrdinaryNumber) {
    EXPECT_EQ(find(*objectOf("IP.Diagnostics.TraceRoute"), "RouteHopsNumberOfEntries")->countedOid, RDM_OID_NONE);
    for (const char* object : {"IP.Diagnostics.DownloadDiagnostics", "IP.Diagnostics.UploadDiagnostics"}) {
        EXPECT_EQ(find(*objectOf(object), "PerConnectionResultNumberOfEntries")->countedOid, RDM_OID_NONE);
        EXPECT_EQ(find(*objectOf(object), "IncrementalResultNumberOfEntries")->countedOid, RDM_OID_NONE);
    }
    EXPECT_EQ(find(*objectOf("DNS.Diagnostics.NSLookupDiagnostics"), "ResultNumberOfEntries")->countedOid,
              RDM_OID_DNS_DIAG_NSLOOKUP_RESULT);
}

TEST(ModelFacts, AnObjectsParentIsTheTableItLiesBelow) {
    EXPECT_EQ(objectOf("IP.Interface.{i}.IPv4Address.{i}")->parentOid, RDM_OID_IP_IFACE);
    EXPECT_EQ(objectOf("PPP.Interface.{i}.IPCP")->parentOid, RDM_OID_PPP_IFACE);
    EXPECT_EQ(objectOf("DNS.Client.Server.{i}")->parentOid, RDM_OID_NONE);
}

TEST(ModelFacts, ObjectsStandAtTheirNumber) {
    for (uint32_t oid = 1; oid < RDM_OID_COUNT; ++oid) {
        EXPECT_EQ(vcfg::model::find(oid)->oid, oid);
    }
    EXPECT_EQ(vcfg::model::find(RDM_OID_NONE), nullptr);
    EXPECT_EQ(vcfg::model::find(RDM_OID_COUNT), nullptr);
    EXPECT_EQ(vcfg::model::find(UINT32_MAX), nullptr);
}
