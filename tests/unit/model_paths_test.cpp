// Path texts to objects and instances, and back.
#include <gtest/gtest.h>

#include "model/describe.h"

using vcfg::model::pathMatches;
using vcfg::model::resolve;
using vcfg::model::resolveTable;

namespace {

std::string roundTrip(const std::string& text) {
    const auto found = resolve(text);
    return found ? path(*found->object, found->iid) : "";
}

}  // namespace

TEST(ModelPath, NamesAParameterOfANestedInstance) {
    const auto found = resolve("IP.Interface.3.IPv4Address.1.IPAddress");
    ASSERT_TRUE(found);
    EXPECT_EQ(found->object->oid, RDM_OID_IP_IFACE_V4_ADDR);
    EXPECT_EQ(found->iid.level, 2);
    EXPECT_EQ(found->iid.idx[0], 3);
    EXPECT_EQ(found->iid.idx[1], 1);
    ASSERT_NE(found->parameter, nullptr);
    EXPECT_STREQ(found->parameter->name, "IPAddress");
}

TEST(ModelPath, NamesAnInstance) {
    const auto found = resolve("IP.Interface.255");
    ASSERT_TRUE(found);
    EXPECT_EQ(found->iid.idx[0], 255);
    EXPECT_TRUE(found->rest.empty());
}

TEST(ModelPath, NamesASingleObject) {
    EXPECT_EQ(resolve("DNS.Client")->object->oid, RDM_OID_DNS_CLIENT);
}

TEST(ModelPath, NamesASingleObjectBelowAnInstance) {
    const auto found = resolve("PPP.Interface.2.IPCP.LocalIPAddress");
    ASSERT_TRUE(found);
    EXPECT_EQ(found->object->oid, RDM_OID_PPP_IFACE_IPCP);
    EXPECT_EQ(found->iid.level, 1);
    EXPECT_EQ(found->iid.idx[0], 2);
}

TEST(ModelPath, AnUnknownNameBehindAnObjectIsNoParameter) {
    const auto found = resolve("IP.Interface.1.Bogus");
    ASSERT_TRUE(found);
    EXPECT_EQ(found->rest, "Bogus");
    EXPECT_EQ(found->parameter, nullptr);
}

TEST(ModelPath, InstanceNumbersGoFrom1To255) {
    for (const char* number :
         {"0", "256", "-1", "1x", "01", "+1", " 1", "1 ", "4294967297", "18446744073709551617", "*", "{i}", ""}) {
        EXPECT_FALSE(resolve(std::string("IP.Interface.") + number)) << number;
        EXPECT_FALSE(resolve(std::string("IP.Interface.") + number + ".Status")) << number;
    }
}

TEST(ModelPath, ATableWithoutInstanceNumberIsNoInstance) {
    EXPECT_FALSE(resolve("IP.Interface"));
    EXPECT_FALSE(resolve("IP.Interface.1.IPv4Address"));
}

TEST(ModelPath, WhatIsNoPathNamesNothing) {
    for (const char* text : {"", ".", "..", "IP.", "IP..Interface.1", "ip.interface.1", "IP.Interface.1.",
                             "Interface.1", "IP.Interface.1.IPv4Address.1.IPAddress.More", "Nothing"}) {
        EXPECT_FALSE(resolve(text)) << text;
    }
}

TEST(ModelPath, ComesBackAsItWas) {
    for (const char* text : {"IP.Interface.3.IPv4Address.1", "DNS.Client", "PPP.Interface.255.IPCP",
                             "Routing.Router.1.IPv4Forwarding.17", "X_VORAN_VlanAutoHunt.Interface.2"}) {
        EXPECT_EQ(roundTrip(text), text);
    }
}

TEST(ModelPath, PlacesWithoutANumberStayOpen) {
    const vcfg::model::Object& object = *vcfg::model::find(RDM_OID_IP_IFACE_V4_ADDR);
    EXPECT_EQ(path(object, objIndex{}), "IP.Interface.{i}.IPv4Address.{i}");
    EXPECT_EQ(path(object, objIndex{1, {3, 0, 0, 0, 0, 0}}), "IP.Interface.3.IPv4Address.{i}");
}

TEST(ModelPath, LevelsBeyondThePatternAreNotLookedAt) {
    EXPECT_EQ(path(*vcfg::model::find(RDM_OID_IP_IFACE), objIndex{255, {3, 4, 5, 6, 7, 8}}), "IP.Interface.3");
}

TEST(ModelPath, NamesATable) {
    const auto found = resolveTable("IP.Interface.3.IPv4Address");
    ASSERT_TRUE(found);
    EXPECT_EQ(found->object->oid, RDM_OID_IP_IFACE_V4_ADDR);
    EXPECT_EQ(found->parent.level, 1);
    EXPECT_EQ(found->parent.idx[0], 3);
}

TEST(ModelPath, ATableMayEndInADot) {
    EXPECT_EQ(resolveTable("DHCPv4.Client.")->object->oid, RDM_OID_DHCPV4_CLIENT);
}

TEST(ModelPath, AnInstanceIsNoTable) {
    EXPECT_FALSE(resolveTable("IP.Interface.3"));
    EXPECT_FALSE(resolveTable("DNS.Client"));
    EXPECT_FALSE(resolveTable("IP.Interface.0.IPv4Address"));
}

TEST(PathPattern, AStarIsAnyInstance) {
    EXPECT_TRUE(pathMatches("IP.Interface.*.Status", "IP.Interface.12.Status"));
    EXPECT_FALSE(pathMatches("IP.Interface.*.Status", "IP.Interface.12.Enable"));
    EXPECT_FALSE(pathMatches("IP.*.1.Status", "IP.Interface.1.Status"));
}

TEST(PathPattern, ADotAtTheEndIsTheWholeSubtree) {
    EXPECT_TRUE(pathMatches("IP.Interface.1.", "IP.Interface.1.IPv4Address.1.IPAddress"));
    EXPECT_TRUE(pathMatches("IP.Interface.1.", "IP.Interface.1"));
    EXPECT_TRUE(pathMatches("IP.Interface.*.IPv4Address.", "IP.Interface.7.IPv4Address.1"));
    EXPECT_FALSE(pathMatches("IP.Interface.1.", "IP.Interface.11.Status"));
}

TEST(PathPattern, WithoutDotOrStarIsThatPathOnly) {
    EXPECT_TRUE(pathMatches("DNS.Client.Status", "DNS.Client.Status"));
    EXPECT_FALSE(pathMatches("DNS.Client", "DNS.Client.Status"));
    EXPECT_FALSE(pathMatches("DNS.Client.Status", "DNS.Client"));
}

TEST(PathPattern, AnEmptyOneIsEverything) {
    EXPECT_TRUE(pathMatches("", "DNS.Client.Status"));
}
