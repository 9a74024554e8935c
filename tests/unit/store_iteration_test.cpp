// Walking tables: order, parents, ends.
#include <gtest/gtest.h>

#include <vector>

#include "store_support.h"

namespace {

std::vector<std::string> walk(const Store& store, uint32_t oid, objIndex iid = {}) {
    std::vector<std::string> paths;
    const void* record = nullptr;
    while (store.next(oid, &iid, &record) == VCFG_OK && paths.size() < 1000) {
        EXPECT_NE(record, nullptr);
        paths.push_back(path(*vcfg::model::find(oid), iid));
    }
    return paths;
}

std::vector<std::string> walkBelow(const Store& store, uint32_t oid, const objIndex& parent, objIndex iid = {}) {
    std::vector<std::string> paths;
    const void* record = nullptr;
    while (store.nextChild(oid, parent, &iid, &record) == VCFG_OK && paths.size() < 1000) {
        paths.push_back(path(*vcfg::model::find(oid), iid));
    }
    return paths;
}

class StoreIteration : public testing::Test {
  protected:
    StoreIteration() {
        for (const char* path :
             {"IP.Interface.200", "IP.Interface.3", "IP.Interface.1", "IP.Interface.3.IPv4Address.2",
              "IP.Interface.1.IPv4Address.255", "IP.Interface.1.IPv4Address.10", "IP.Interface.200.IPv4Address.1"}) {
            make(store, path);
        }
    }
    Store store;
};

using Paths = std::vector<std::string>;
constexpr objIndex kFirst = {1, {1, 0, 0, 0, 0, 0}};
constexpr objIndex kSecond = {1, {2, 0, 0, 0, 0, 0}};
constexpr objIndex kThird = {1, {3, 0, 0, 0, 0, 0}};

}  // namespace

TEST_F(StoreIteration, IsAscendingWhateverTheOrderOfMaking) {
    EXPECT_EQ(walk(store, RDM_OID_IP_IFACE), (Paths{"IP.Interface.1", "IP.Interface.3", "IP.Interface.200"}));
}

TEST_F(StoreIteration, GoesOverAllParents) {
    EXPECT_EQ(walk(store, RDM_OID_IP_IFACE_V4_ADDR),
              (Paths{"IP.Interface.1.IPv4Address.10", "IP.Interface.1.IPv4Address.255", "IP.Interface.3.IPv4Address.2",
                     "IP.Interface.200.IPv4Address.1"}));
}

TEST_F(StoreIteration, StaysBelowOneParent) {
    EXPECT_EQ(walkBelow(store, RDM_OID_IP_IFACE_V4_ADDR, kFirst),
              (Paths{"IP.Interface.1.IPv4Address.10", "IP.Interface.1.IPv4Address.255"}));
    EXPECT_EQ(walkBelow(store, RDM_OID_IP_IFACE_V4_ADDR, kThird), (Paths{"IP.Interface.3.IPv4Address.2"}));
}

TEST_F(StoreIteration, BelowAParentThatDoesNotExistIsNothing) {
    EXPECT_EQ(walkBelow(store, RDM_OID_IP_IFACE_V4_ADDR, kSecond), Paths{});
}

TEST_F(StoreIteration, BelowAParentStartsAtItsFirstFromAnEarlierPlace) {
    EXPECT_EQ(walkBelow(store, RDM_OID_IP_IFACE_V4_ADDR, kThird, objIndex{2, {1, 10, 0, 0, 0, 0}}),
              (Paths{"IP.Interface.3.IPv4Address.2"}));
}

TEST_F(StoreIteration, GoesOnBehindAnInstanceThatIsGone) {
    EXPECT_EQ(walk(store, RDM_OID_IP_IFACE, objIndex{1, {2, 0, 0, 0, 0, 0}}),
              (Paths{"IP.Interface.3", "IP.Interface.200"}));
}

TEST_F(StoreIteration, BytesBeyondTheLevelAreNotLookedAt) {
    EXPECT_EQ(walk(store, RDM_OID_IP_IFACE, objIndex{0, {9, 9, 9, 9, 9, 9}}).size(), 3u);
    EXPECT_EQ(walk(store, RDM_OID_IP_IFACE, objIndex{1, {1, 9, 9, 9, 9, 9}}).size(), 2u);
}

TEST_F(StoreIteration, AtTheEndTheInstanceIdStaysAsItWas) {
    objIndex iid{1, {200, 0, 0, 0, 0, 0}};
    const void* record = nullptr;
    EXPECT_EQ(store.next(RDM_OID_IP_IFACE, &iid, &record), VCFG_ERR_NOT_FOUND);
    EXPECT_EQ(iid.level, 1);
    EXPECT_EQ(iid.idx[0], 200);
    EXPECT_EQ(record, nullptr);
}

TEST_F(StoreIteration, ALevelThatTheObjectDoesNotHaveIsRefused) {
    const void* record = nullptr;
    for (const uint8_t level : {uint8_t{2}, uint8_t{6}, uint8_t{7}, uint8_t{255}}) {
        objIndex iid{level, {1, 1, 1, 1, 1, 1}};
        EXPECT_EQ(store.next(RDM_OID_IP_IFACE, &iid, &record), VCFG_ERR_INVALID) << int{level};
        EXPECT_EQ(store.get(RDM_OID_IP_IFACE, iid, &record), VCFG_ERR_INVALID) << int{level};
    }
    objIndex iid{};
    EXPECT_EQ(store.nextChild(RDM_OID_IP_IFACE_V4_ADDR, objIndex{2, {1, 10, 0, 0, 0, 0}}, &iid, &record),
              VCFG_ERR_INVALID);
}

TEST_F(StoreIteration, ASingleObjectIsNotIterated) {
    objIndex iid{};
    const void* record = nullptr;
    EXPECT_EQ(store.next(RDM_OID_DNS_CLIENT, &iid, &record), VCFG_ERR_INVALID);
}

TEST_F(StoreIteration, SingleObjectsBelowInstancesAreIteratedAsTheyAre) {
    make(store, "PPP.Interface.4");
    make(store, "PPP.Interface.2");
    EXPECT_EQ(walk(store, RDM_OID_PPP_IFACE_IPCP), (Paths{"PPP.Interface.2.IPCP", "PPP.Interface.4.IPCP"}));
}

TEST_F(StoreIteration, AnInstanceIsReadByItsFullId) {
    const void* record = nullptr;
    EXPECT_EQ(store.get(RDM_OID_IP_IFACE_V4_ADDR, objIndex{2, {3, 2, 0, 0, 0, 0}}, &record), VCFG_OK);
    EXPECT_EQ(store.get(RDM_OID_IP_IFACE_V4_ADDR, objIndex{2, {3, 0, 0, 0, 0, 0}}, &record), VCFG_ERR_NOT_FOUND);
    EXPECT_EQ(store.get(RDM_OID_IP_IFACE_V4_ADDR, objIndex{1, {3, 2, 0, 0, 0, 0}}, &record), VCFG_ERR_INVALID);
    EXPECT_EQ(record, nullptr);
}
