// Which instances exist: single objects, adding, numbering, removing.
#include <gtest/gtest.h>

#include "store_support.h"

TEST(StoreInstances, SingleObjectsExistFromTheStart) {
    Store store;
    EXPECT_TRUE(has(store, "DNS.Client"));
    EXPECT_TRUE(has(store, "IP"));
}

TEST(StoreInstances, TablesAreEmptyAtTheStart) {
    const Store store;
    objIndex iid{};
    const void* record = nullptr;
    EXPECT_EQ(store.next(RDM_OID_IP_IFACE, &iid, &record), VCFG_ERR_NOT_FOUND);
}

TEST(StoreInstances, ANewInstanceHasTheDefaults) {
    Store store;
    make(store, "IP.Interface.1");
    EXPECT_EQ(value(store, "IP.Interface.1.Status"), "Down");
    EXPECT_EQ(value(store, "IP.Interface.1.Enable"), "false");
    EXPECT_EQ(value(store, "IP.Interface.1.X_VORAN_ConnectionType"), "IP_Routed");
}

TEST(StoreInstances, AddAnswersTheNewInstance) {
    Store store;
    make(store, "IP.Interface.3");
    objIndex iid{1, {3, 9, 9, 9, 9, 9}};
    ASSERT_EQ(store.add(RDM_OID_IP_IFACE_V4_ADDR, &iid, nullptr), VCFG_OK);
    EXPECT_EQ(iid.level, 2);
    EXPECT_EQ(iid.idx[0], 3);
    EXPECT_EQ(iid.idx[1], 1);
    EXPECT_TRUE(has(store, "IP.Interface.3.IPv4Address.1"));
}

TEST(StoreInstances, TheNewNumberIsTheHighestPlusOne) {
    Store store;
    make(store, "IP.Interface.7");
    EXPECT_EQ(add(store, "IP.Interface"), "IP.Interface.8");
    drop(store, "IP.Interface.7");
    EXPECT_EQ(add(store, "IP.Interface"), "IP.Interface.9");
}

TEST(StoreInstances, NumbersAreCountedPerParent) {
    Store store;
    make(store, "IP.Interface.1");
    make(store, "IP.Interface.2");
    make(store, "IP.Interface.1.IPv4Address.5");
    EXPECT_EQ(add(store, "IP.Interface.2.IPv4Address"), "IP.Interface.2.IPv4Address.1");
    EXPECT_EQ(add(store, "IP.Interface.1.IPv4Address"), "IP.Interface.1.IPv4Address.6");
}

TEST(StoreInstances, At255TheLowestFreeNumberIsTaken) {
    Store store;
    make(store, "IP.Interface.1");
    make(store, "IP.Interface.1.IPv4Address.1");
    make(store, "IP.Interface.1.IPv4Address.255");
    EXPECT_EQ(add(store, "IP.Interface.1.IPv4Address"), "IP.Interface.1.IPv4Address.2");
}

TEST(StoreInstances, ATableHolds255) {
    Store store;
    for (int i = 1; i <= 255; ++i) {
        ASSERT_EQ(add(store, "IP.Interface"), "IP.Interface." + std::to_string(i));
    }
    objIndex iid{};
    std::string why;
    EXPECT_EQ(store.add(RDM_OID_IP_IFACE, &iid, &why), VCFG_ERR_FULL);
    EXPECT_EQ(why, "the table has 255 instances already");
    EXPECT_EQ(iid.level, 0);
}

TEST(StoreInstances, TheParentMustExist) {
    Store store;
    objIndex iid{1, {3, 0, 0, 0, 0, 0}};
    std::string why;
    EXPECT_EQ(store.add(RDM_OID_IP_IFACE_V4_ADDR, &iid, &why), VCFG_ERR_NOT_FOUND);
    EXPECT_EQ(why, "no such parent instance");
    EXPECT_EQ(iid.level, 1);
}

TEST(StoreInstances, OnlyTablesAreAddedTo) {
    Store store;
    make(store, "PPP.Interface.1");
    objIndex iid{};
    EXPECT_EQ(store.add(RDM_OID_DNS_CLIENT, &iid, nullptr), VCFG_ERR_INVALID);
    EXPECT_EQ(store.add(RDM_OID_PPP_IFACE_IPCP, &iid, nullptr), VCFG_ERR_INVALID);
}

TEST(StoreInstances, AddTakesTheLevelAboveTheTable) {
    Store store;
    make(store, "IP.Interface.1");
    for (const uint8_t level : {uint8_t{1}, uint8_t{2}, uint8_t{6}, uint8_t{7}, uint8_t{255}}) {
        objIndex iid{level, {1, 1, 1, 1, 1, 1}};
        EXPECT_EQ(store.add(RDM_OID_IP_IFACE, &iid, nullptr), VCFG_ERR_INVALID) << int{level};
    }
}

TEST(StoreInstances, AnUnknownObjectIsNotFound) {
    Store store;
    for (const uint32_t oid : {uint32_t{0}, uint32_t{RDM_OID_COUNT}, UINT32_MAX}) {
        objIndex iid{};
        const void* record = nullptr;
        EXPECT_EQ(store.get(oid, iid, &record), VCFG_ERR_NOT_FOUND);
        EXPECT_EQ(store.next(oid, &iid, &record), VCFG_ERR_NOT_FOUND);
        EXPECT_EQ(store.add(oid, &iid, nullptr), VCFG_ERR_NOT_FOUND);
        EXPECT_EQ(store.remove(oid, iid, nullptr), VCFG_ERR_NOT_FOUND);
        EXPECT_EQ(store.set(oid, iid, {}, nullptr), VCFG_ERR_NOT_FOUND);
    }
}

TEST(StoreInstances, AGivenNumberIsTakenOnce) {
    Store store;
    make(store, "IP.Interface.3");
    EXPECT_EQ(store.create(RDM_OID_IP_IFACE, objIndex{1, {3, 0, 0, 0, 0, 0}}, nullptr), VCFG_ERR_INVALID);
    EXPECT_EQ(store.create(RDM_OID_IP_IFACE, objIndex{1, {0, 0, 0, 0, 0, 0}}, nullptr), VCFG_ERR_INVALID);
    EXPECT_EQ(value(store, "IP.InterfaceNumberOfEntries"), "1");
}

TEST(StoreInstances, SingleObjectsBelowAnInstanceComeAndGoWithIt) {
    Store store;
    EXPECT_FALSE(has(store, "PPP.Interface.1.IPCP"));
    make(store, "PPP.Interface.1");
    EXPECT_TRUE(has(store, "PPP.Interface.1.IPCP"));
    EXPECT_TRUE(has(store, "PPP.Interface.1.IPv6CP"));
    EXPECT_TRUE(has(store, "PPP.Interface.1.PPPoE"));
    drop(store, "PPP.Interface.1");
    EXPECT_FALSE(has(store, "PPP.Interface.1.IPCP"));
}

TEST(StoreInstances, RemovingTakesWhatIsBelow) {
    Store store;
    make(store, "IP.Interface.1");
    make(store, "IP.Interface.1.IPv4Address.1");
    make(store, "IP.Interface.1.IPv6Prefix.9");
    drop(store, "IP.Interface.1");
    make(store, "IP.Interface.1");
    EXPECT_FALSE(has(store, "IP.Interface.1.IPv4Address.1"));
    EXPECT_FALSE(has(store, "IP.Interface.1.IPv6Prefix.9"));
}

TEST(StoreInstances, RemovingLeavesTheNeighboursAlone) {
    Store store;
    for (const char* path : {"IP.Interface.1", "IP.Interface.2", "IP.Interface.3", "IP.Interface.1.IPv4Address.1",
                             "IP.Interface.3.IPv4Address.1"}) {
        make(store, path);
    }
    drop(store, "IP.Interface.2");
    EXPECT_TRUE(has(store, "IP.Interface.1.IPv4Address.1"));
    EXPECT_TRUE(has(store, "IP.Interface.3.IPv4Address.1"));
}

TEST(StoreInstances, SingleObjectsAreNotRemoved) {
    Store store;
    make(store, "PPP.Interface.1");
    EXPECT_EQ(store.remove(RDM_OID_DNS_CLIENT, objIndex{}, nullptr), VCFG_ERR_INVALID);
    EXPECT_EQ(store.remove(RDM_OID_PPP_IFACE_IPCP, objIndex{1, {1, 0, 0, 0, 0, 0}}, nullptr), VCFG_ERR_INVALID);
    EXPECT_TRUE(has(store, "PPP.Interface.1.IPCP"));
}

TEST(StoreInstances, WhatDoesNotExistIsNotRemoved) {
    Store store;
    const uint32_t revision = store.revision();
    EXPECT_EQ(store.remove(RDM_OID_IP_IFACE, objIndex{1, {1, 0, 0, 0, 0, 0}}, nullptr), VCFG_ERR_NOT_FOUND);
    EXPECT_EQ(store.revision(), revision);
}

TEST(StoreInstances, TablesAreCounted) {
    Store store;
    make(store, "IP.Interface.4");
    make(store, "IP.Interface.4.IPv4Address.1");
    make(store, "IP.Interface.4.IPv4Address.2");
    EXPECT_EQ(value(store, "IP.InterfaceNumberOfEntries"), "1");
    EXPECT_EQ(value(store, "IP.Interface.4.IPv4AddressNumberOfEntries"), "2");
    drop(store, "IP.Interface.4.IPv4Address.1");
    EXPECT_EQ(value(store, "IP.Interface.4.IPv4AddressNumberOfEntries"), "1");
    drop(store, "IP.Interface.4");
    EXPECT_EQ(value(store, "IP.InterfaceNumberOfEntries"), "0");
}
