// What the store does when memory is short, and what it costs when nothing grows.
#include <gtest/gtest.h>

#include <functional>

#include "short_memory.h"
#include "store_support.h"

namespace {

std::string content(const Store& store) {
    const JsonPtr json = store.toJson();
    return json_object_to_json_string_ext(json.get(), JSON_C_TO_STRING_PLAIN);
}

// Runs the operation with ever more memory until it succeeds; each failure before that must have changed nothing.
void expectWholeOrNothing(Store& store, const std::function<int()>& operation) {
    const std::string before = content(store);
    for (int enough = 0; enough < 10000; ++enough) {
        short_memory::leaveNews(enough);
        const int code = operation();
        short_memory::leaveNews(-1);
        if (code == VCFG_OK) {
            EXPECT_GT(enough, 0);
            return;
        }
        ASSERT_EQ(code, VCFG_ERR_FAIL);
        ASSERT_EQ(content(store), before);
    }
    FAIL() << "never succeeded";
}

class StoreMemory : public testing::Test {
  protected:
    StoreMemory() {
        make(store, "PPP.Interface.1");
        store.watch([](const Change&) {});
    }
    Store store;
};

constexpr objIndex kFirst = {1, {1, 0, 0, 0, 0, 0}};

}  // namespace

TEST_F(StoreMemory, AddingIsWholeOrNothing) {
    expectWholeOrNothing(store, [this] {
        objIndex iid{};
        return store.add(RDM_OID_PPP_IFACE, &iid, nullptr);
    });
    EXPECT_TRUE(has(store, "PPP.Interface.2.IPCP"));
}

TEST_F(StoreMemory, RemovingIsWholeOrNothing) {
    expectWholeOrNothing(store, [this] { return store.remove(RDM_OID_PPP_IFACE, kFirst, nullptr); });
    EXPECT_FALSE(has(store, "PPP.Interface.1.IPCP"));
}

TEST_F(StoreMemory, WritingIsWholeOrNothing) {
    const JsonPtr json = vcfg::store::parseObject(R"({"Enable":true,"Status":"Up"})", nullptr);
    expectWholeOrNothing(store, [&] { return store.write(RDM_OID_PPP_IFACE, kFirst, json.get(), nullptr); });
    EXPECT_EQ(value(store, "PPP.Interface.1.Status"), "Up");
}

TEST_F(StoreMemory, LoadingIsWholeOrNothing) {
    const char* const json =
        R"({"version":1,"objects":{"IP.Interface.1":{"Alias":"a"},"IP.Interface.1.IPv4Address.1":{}}})";
    expectWholeOrNothing(store, [&] {
        std::string why;
        return store.fromText(json, What::All, Unknown::Refuse, nullptr, &why);
    });
    EXPECT_TRUE(has(store, "IP.Interface.1.IPv4Address.1"));
}

TEST_F(StoreMemory, ARefusalWithoutMemoryForItsReasonIsAFailure) {
    short_memory::leaveNews(0);
    std::string why;
    objIndex iid{1, {1, 0, 0, 0, 0, 0}};
    const int code = store.add(RDM_OID_PPP_IFACE, &iid, &why);
    short_memory::leaveNews(-1);
    EXPECT_EQ(code, VCFG_ERR_FAIL);
}

TEST_F(StoreMemory, ReadingAllocatesNothing) {
    const size_t before = short_memory::newsSoFar();
    objIndex iid{};
    const void* record = nullptr;
    EXPECT_EQ(store.next(RDM_OID_PPP_IFACE, &iid, &record), VCFG_OK);
    EXPECT_EQ(store.nextChild(RDM_OID_PPP_IFACE_IPCP, objIndex{}, &iid, &record), VCFG_ERR_NOT_FOUND);
    EXPECT_EQ(store.get(RDM_OID_PPP_IFACE, kFirst, &record), VCFG_OK);
    EXPECT_EQ(short_memory::newsSoFar(), before);
}
