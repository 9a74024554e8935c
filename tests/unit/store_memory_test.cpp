// What the store does when memory is short, and what it costs when nothing grows.
#include <gtest/gtest.h>

#include <cstdlib>
#include <functional>
#include <new>

#include "store_support.h"

namespace {

// How many allocations of this thread still succeed; negative: all.
thread_local int allocationsLeft = -1;
thread_local size_t allocations = 0;

void* allocate(size_t size) {
    ++allocations;
    if (allocationsLeft == 0) {
        return nullptr;
    }
    allocationsLeft -= allocationsLeft > 0 ? 1 : 0;
    return std::malloc(size);
}

std::string content(const Store& store) {
    const JsonPtr json = store.toJson();
    return json_object_to_json_string_ext(json.get(), JSON_C_TO_STRING_PLAIN);
}

// Runs the operation with ever more memory until it succeeds; each failure before that must have changed nothing.
void expectWholeOrNothing(Store& store, const std::function<int()>& operation) {
    const std::string before = content(store);
    for (int enough = 0; enough < 10000; ++enough) {
        allocationsLeft = enough;
        const int code = operation();
        allocationsLeft = -1;
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

[[gnu::noinline]] void* operator new(size_t size) {
    void* memory = allocate(size);
    return memory != nullptr ? memory : throw std::bad_alloc();
}
[[gnu::noinline]] void* operator new[](size_t size) {
    return operator new(size);
}
[[gnu::noinline]] void* operator new(size_t size, const std::nothrow_t&) noexcept {
    return allocate(size);
}
[[gnu::noinline]] void* operator new[](size_t size, const std::nothrow_t&) noexcept {
    return allocate(size);
}
[[gnu::noinline]] void operator delete(void* memory) noexcept {
    std::free(memory);
}
[[gnu::noinline]] void operator delete[](void* memory) noexcept {
    std::free(memory);
}
[[gnu::noinline]] void operator delete(void* memory, const std::nothrow_t&) noexcept {
    std::free(memory);
}
[[gnu::noinline]] void operator delete[](void* memory, const std::nothrow_t&) noexcept {
    std::free(memory);
}
[[gnu::noinline]] void operator delete(void* memory, size_t) noexcept {
    std::free(memory);
}
[[gnu::noinline]] void operator delete[](void* memory, size_t) noexcept {
    std::free(memory);
}

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
    const JsonPtr json = vcfg::store::parseObject(
        R"({"version":1,"objects":{"IP.Interface.1":{"Alias":"a"},"IP.Interface.1.IPv4Address.1":{}}})", nullptr);
    expectWholeOrNothing(store, [&] {
        std::string why;
        return store.fromJson(json.get(), Unknown::Refuse, nullptr, &why);
    });
    EXPECT_TRUE(has(store, "IP.Interface.1.IPv4Address.1"));
}

TEST_F(StoreMemory, ARefusalWithoutMemoryForItsReasonIsAFailure) {
    allocationsLeft = 0;
    std::string why;
    objIndex iid{1, {1, 0, 0, 0, 0, 0}};
    const int code = store.add(RDM_OID_PPP_IFACE, &iid, &why);
    allocationsLeft = -1;
    EXPECT_EQ(code, VCFG_ERR_FAIL);
}

TEST_F(StoreMemory, ReadingAllocatesNothing) {
    const size_t before = allocations;
    objIndex iid{};
    const void* record = nullptr;
    EXPECT_EQ(store.next(RDM_OID_PPP_IFACE, &iid, &record), VCFG_OK);
    EXPECT_EQ(store.nextChild(RDM_OID_PPP_IFACE_IPCP, objIndex{}, &iid, &record), VCFG_ERR_NOT_FOUND);
    EXPECT_EQ(store.get(RDM_OID_PPP_IFACE, kFirst, &record), VCFG_OK);
    EXPECT_EQ(allocations, before);
}
