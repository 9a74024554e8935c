// What every user of the front end relies on when it reads.
#include <string>
#include <vector>

#include "records.h"

namespace {

class FeRead : public World {};
class FeIteration : public World {};
class FeRefresh : public World {};

template <class T>
std::vector<std::string> walk(ReadFunction function, bool deleteEach = false) {
    std::vector<std::string> found;
    objIndex iid{};
    while (readNext<T>(&iid, function)) {
        found.push_back(text(iid));
        if (deleteEach) {
            EXPECT_EQ(remove<T>(iid), 0);
        }
    }
    return found;
}

using Found = std::vector<std::string>;

}  // namespace

TEST_F(FeRead, ASingleObjectIsAddressedByAnAllZeroId) {
    EXPECT_TRUE(read<Ip>(at()));
}

TEST_F(FeRead, AnInstanceIsAddressedByItsNumbers) {
    add<IpInterface>();
    add<IpInterface>();
    add<IpInterfaceIpv4Address>(at(2));
    write<IpInterfaceIpv4Address>(at(2, 1), R"({"IPAddress":"192.0.2.7"})");
    const auto address = read<IpInterfaceIpv4Address>(at(2, 1));
    ASSERT_TRUE(address);
    EXPECT_EQ(address->IPAddress, "192.0.2.7");
}

TEST_F(FeRead, ARecordIsTheCallersOwn) {
    add<IpInterface>();
    const auto mine = read<IpInterface>(at(1));
    ASSERT_TRUE(mine);
    mine->Alias = "scribbled";
    EXPECT_EQ(read<IpInterface>(at(1))->Alias, "");
}

TEST_F(FeRead, ANewInstanceHasItsDefaults) {
    add<PppInterface>();
    const auto ppp = read<PppInterface>(at(1));
    ASSERT_TRUE(ppp);
    EXPECT_EQ(ppp->Status, "Down");
    EXPECT_EQ(ppp->MaxMRUSize, 1500u);
    EXPECT_EQ(ppp->LCPEchoAdaptive, 1);
}

TEST_F(FeRead, ASingleObjectBelowAnInstanceExistsWithIt) {
    EXPECT_FALSE(read<PppInterfaceIpcp>(at(1)));
    add<PppInterface>();
    EXPECT_TRUE(read<PppInterfaceIpcp>(at(1)));
}

TEST_F(FeRead, WhatDoesNotExistFails) {
    add<IpInterface>();
    for (const ReadFunction function : {vcfgFeObjStructGet, vcfgFeObjStructGetWithoutUpdate}) {
        EXPECT_FALSE(read<IpInterface>(at(2), function));
        EXPECT_FALSE(read<IpInterface>(at(0), function));
        EXPECT_FALSE(read<IpInterfaceIpv4Address>(at(1, 1), function));
    }
}

TEST_F(FeRead, AnIdOfAnotherLevelFails) {
    add<IpInterface>();
    EXPECT_FALSE(read<IpInterface>(at()));
    EXPECT_FALSE(read<IpInterface>(at(1, 1)));
    EXPECT_FALSE(read<IpInterface>(objIndex{255, {1, 1, 1, 1, 1, 1}}));
}

TEST_F(FeRead, AnUnknownObjectFails) {
    for (const uint32_t oid : {uint32_t{RDM_OID_NONE}, uint32_t{RDM_OID_COUNT}, UINT32_MAX}) {
        objIndex iid{};
        void* record = nullptr;
        EXPECT_NE(vcfgFeObjStructGet(oid, &iid, &record), 0);
        EXPECT_NE(vcfgFeObjStructGetNext(oid, &iid, &record), 0);
        EXPECT_NE(vcfgFeSubInStructGetNext(oid, &iid, &iid, &record), 0);
    }
}

TEST_F(FeRead, MissingArgumentsFail) {
    objIndex iid{};
    void* record = nullptr;
    for (const ReadFunction function : {vcfgFeObjStructGet, vcfgFeObjStructGetWithoutUpdate, vcfgFeObjStructGetNext,
                                        vcfgFeObjStructGetNextWithoutUpdate}) {
        EXPECT_NE(function(RDM_OID_IP, nullptr, &record), 0);
        EXPECT_NE(function(RDM_OID_IP, &iid, nullptr), 0);
    }
    EXPECT_NE(vcfgFeSubInStructGetNext(RDM_OID_IP_IFACE_V4_ADDR, nullptr, &iid, &record), 0);
    EXPECT_NE(vcfgFeSubInStructGetNext(RDM_OID_IP_IFACE_V4_ADDR, &iid, nullptr, &record), 0);
    EXPECT_NE(vcfgFeSubInStructGetNext(RDM_OID_IP_IFACE_V4_ADDR, &iid, &iid, nullptr), 0);
}

TEST_F(FeRead, TheDebugConfigurationLoadsWithoutAnEntry) {
    EXPECT_EQ(vcfgFeDebugCfgObjInit("tarn"), 0);
}

TEST_F(FeIteration, AnEmptyTableHasNoFirstInstance) {
    objIndex iid{};
    EXPECT_FALSE(readNext<IpInterface>(&iid));
}

TEST_F(FeIteration, FindsAllInstancesInAscendingOrder) {
    for (int i = 0; i < 12; ++i) {
        add<IpInterface>();
    }
    remove<IpInterface>(at(4));
    const Found all = {"1:1", "1:2", "1:3", "1:5", "1:6", "1:7", "1:8", "1:9", "1:10", "1:11", "1:12"};
    EXPECT_EQ(walk<IpInterface>(vcfgFeObjStructGetNext), all);
    EXPECT_EQ(walk<IpInterface>(vcfgFeObjStructGetNextWithoutUpdate), all);
}

TEST_F(FeIteration, GoesOverAllParents) {
    add<IpInterface>();
    add<IpInterface>();
    add<IpInterface>();
    add<IpInterfaceIpv4Address>(at(3));
    add<IpInterfaceIpv4Address>(at(1));
    add<IpInterfaceIpv4Address>(at(1));
    EXPECT_EQ(walk<IpInterfaceIpv4Address>(vcfgFeObjStructGetNext), (Found{"2:1.1", "2:1.2", "2:3.1"}));
}

TEST_F(FeIteration, EachStepHandsOutTheInstancesRecord) {
    add<DnsClientServer>();
    add<DnsClientServer>();
    write<DnsClientServer>(at(1), R"({"DNSServer":"192.0.2.1"})");
    write<DnsClientServer>(at(2), R"({"DNSServer":"2001:db8::2"})");
    objIndex iid{};
    EXPECT_EQ(readNext<DnsClientServer>(&iid)->DNSServer, "192.0.2.1");
    EXPECT_EQ(readNext<DnsClientServer>(&iid)->DNSServer, "2001:db8::2");
    EXPECT_FALSE(readNext<DnsClientServer>(&iid));
}

TEST_F(FeIteration, BelowOneParentStaysThere) {
    add<IpInterface>();
    add<IpInterface>();
    add<IpInterfaceIpv6Address>(at(1));
    add<IpInterfaceIpv6Address>(at(2));
    add<IpInterfaceIpv6Address>(at(2));
    const objIndex parent = at(2);
    objIndex iid{};
    Found found;
    void* record = nullptr;
    while (vcfgFeSubInStructGetNext(RDM_OID_IP_IFACE_V6_ADDR, &parent, &iid, &record) == 0) {
        found.push_back(text(iid));
        free(record);
    }
    EXPECT_EQ(found, (Found{"2:2.1", "2:2.2"}));
}

TEST_F(FeIteration, BelowAParentWithoutInstancesIsNothing) {
    add<IpInterface>();
    add<IpInterface>();
    add<IpInterfaceIpv6Address>(at(2));
    for (const uint8_t parent : {uint8_t{1}, uint8_t{3}}) {
        const objIndex parentIid = at(parent);
        objIndex iid{};
        void* record = nullptr;
        EXPECT_NE(vcfgFeSubInStructGetNext(RDM_OID_IP_IFACE_V6_ADDR, &parentIid, &iid, &record), 0);
    }
}

TEST_F(FeIteration, GoesOnWhenTheInstanceFoundIsDeleted) {
    add<Dhcpv4Client>();
    add<Dhcpv4Client>();
    add<Dhcpv4Client>();
    EXPECT_EQ(walk<Dhcpv4Client>(vcfgFeObjStructGetNextWithoutUpdate, true), (Found{"1:1", "1:2", "1:3"}));
    EXPECT_EQ(walk<Dhcpv4Client>(vcfgFeObjStructGetNextWithoutUpdate), Found{});
}

TEST_F(FeIteration, HasAnEndInAFullTable) {
    for (int i = 0; i < 255; ++i) {
        add<MailEvent>();
    }
    EXPECT_EQ(walk<MailEvent>(vcfgFeObjStructGetNext).size(), 255u);
}

TEST_F(FeRefresh, GetAsksTheOwnerFirst) {
    add<IpInterface>();
    ownerReports("IP.Interface.{i}", R"({"Status":"Up","LastChange":42})");
    const auto refreshed = read<IpInterface>(at(1), vcfgFeObjStructGet);
    ASSERT_TRUE(refreshed);
    EXPECT_EQ(refreshed->Status, "Up");
    EXPECT_EQ(refreshed->LastChange, 42u);
}

TEST_F(FeRefresh, GetWithoutUpdateDoesNotAskTheOwner) {
    add<IpInterface>();
    ownerReports("IP.Interface.{i}", R"({"Status":"Up"})");
    EXPECT_EQ(read<IpInterface>(at(1), vcfgFeObjStructGetWithoutUpdate)->Status, "Down");
}

TEST_F(FeRefresh, GetNextAsksTheOwnerFirst) {
    add<IpInterface>();
    ownerReports("IP.Interface.{i}", R"({"Status":"Up"})");
    objIndex iid{};
    const auto refreshed = readNext<IpInterface>(&iid, vcfgFeObjStructGetNext);
    ASSERT_TRUE(refreshed);
    EXPECT_EQ(refreshed->Status, "Up");
}

TEST_F(FeRefresh, GetNextWithoutUpdateDoesNotAskTheOwner) {
    add<IpInterface>();
    ownerReports("IP.Interface.{i}", R"({"Status":"Up"})");
    objIndex iid{};
    EXPECT_EQ(readNext<IpInterface>(&iid, vcfgFeObjStructGetNextWithoutUpdate)->Status, "Down");
}

TEST_F(FeRefresh, GetNextBelowAParentAsksTheOwnerFirst) {
    add<IpInterface>();
    add<IpInterfaceIpv4Address>(at(1));
    ownerReports("IP.Interface.{i}.IPv4Address.{i}", R"({"Status":"Enabled"})");
    const objIndex parent = at(1);
    objIndex iid{};
    void* record = nullptr;
    ASSERT_EQ(vcfgFeSubInStructGetNext(RDM_OID_IP_IFACE_V4_ADDR, &parent, &iid, &record), 0);
    EXPECT_EQ(Owned<IpInterfaceIpv4Address>(static_cast<IpInterfaceIpv4Address*>(record))->Status, "Enabled");
}
