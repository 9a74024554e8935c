// JSON while memory is short, down in the JSON library: the one allocation after so many fails.
#include <gtest/gtest.h>
#include <malloc.h>

#include <cstdlib>
#include <new>
#include <string>
#include <utility>
#include <vector>

#include "core/json.h"

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define OWN_ALLOCATOR 0
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define OWN_ALLOCATOR 0
#endif
#endif
#ifndef OWN_ALLOCATOR
#define OWN_ALLOCATOR 1
#endif

namespace {

thread_local int left = -1;  // allocations until the one that fails; negative: none does

[[maybe_unused]] bool fails() {
    return left >= 0 && left-- == 0;
}

// Ends with the first number of allocations that `use` gets along with; the number of failures seen.
template <class Use>
int failEachAllocation(const Use& use) {
    int failures = 0;
    for (int after = 0; after < 1000; ++after) {
        left = after;
        try {
            use();
        } catch (const std::bad_alloc&) {
            ++failures;
        }
        const bool enough = left >= 0;
        left = -1;
        if (enough) {
            return failures;
        }
    }
    ADD_FAILURE() << "it never ends";
    return failures;
}

class JsonShortOfMemory : public testing::Test {
  protected:
    void SetUp() override {
        if (OWN_ALLOCATOR == 0) {
            GTEST_SKIP() << "the sanitizer has an allocator of its own";
        }
    }
};

TEST_F(JsonShortOfMemory, GatheringEndsTheEventAndNotTheProcess) {
    EXPECT_GT(failEachAllocation([] {
                  Json request = Json::object();
                  request.set("text", std::string(100, 'x'));
                  request.set("number", 7);
                  request.set("flag", true);
              }),
              0);
}

TEST_F(JsonShortOfMemory, CopyingEndsTheEventAndNotTheProcess) {
    const Json from = Json::parse(R"({"a":{"b":1}})");
    EXPECT_GT(failEachAllocation([&from] {
                  Json request = Json::object();
                  request.copy("a", from, "a");
              }),
              0);
}

TEST_F(JsonShortOfMemory, WhatWasCopiedWithoutAFailureIsThere) {
    const Json from = Json::parse(R"({"a":{"b":1}})");
    failEachAllocation([&from] {
        Json request = Json::object();
        request.copy("a", from, "a");
        const int untilTheFailure = std::exchange(left, -1);
        EXPECT_EQ(request.toText(), R"({"a":{"b":1}})") << untilTheFailure;
        left = untilTheFailure;
    });
}

TEST_F(JsonShortOfMemory, WhatIsRefusedKeepsNone) {
    const auto used = [] { return mallinfo2().uordblks; };
    const auto refuse = [] {
        for (const char* text : {"[1,2,3]", R"({"a":[1,2)", "7"}) {
            EXPECT_FALSE(Json::parse(text).valid()) << text;
        }
    };
    refuse();
    const size_t before = used();
    for (int each = 0; each < 1000; ++each) {
        refuse();
    }
    EXPECT_LT(used(), before + 50'000);
}

TEST_F(JsonShortOfMemory, WritingTheTextEndsTheEventAndNotTheProcess) {
    EXPECT_GT(failEachAllocation([] {
                  Json request = Json::object();
                  request.set("text", std::string(100, 'x'));
                  request.toText();
              }),
              0);
}

TEST_F(JsonShortOfMemory, ReadingANumberAsTextEndsTheEventAndNotTheProcess) {
    std::vector<Json> payloads;  // the library keeps a number's text once it has made it
    for (int each = 0; each < 10; ++each) {
        payloads.push_back(Json::parse(R"({"a":5})"));
    }
    size_t next = 0;
    EXPECT_GT(failEachAllocation([&] { payloads.at(next++).text("a"); }), 0);
}

TEST(JsonText, OfNothingIsWhole) {
    EXPECT_EQ(Json::object().toText(), "{}");
    EXPECT_EQ(Json::parse(R"({"a":{},"b":[],"c":""})").toText(), R"({"a":{},"b":[],"c":""})");
}

TEST_F(JsonShortOfMemory, IsLoggedWithTheSize) {
    Json request = Json::object();
    testing::internal::CaptureStderr();
    left = 0;
    EXPECT_THROW(request.set("text", std::string_view("0123456789")), std::bad_alloc);
    left = -1;
    const std::string log = testing::internal::GetCapturedStderr();
    const size_t first = log.find("fail to calloc memory, size = 11\n");
    ASSERT_NE(std::string::npos, first) << log;
    EXPECT_NE(std::string::npos, log.find("memory insuffcient\n", first)) << log;
}

}  // namespace

#if OWN_ALLOCATOR
extern "C" {
// NOLINTBEGIN(bugprone-reserved-identifier): the C library's names for its own
void* __libc_malloc(size_t size);
void* __libc_calloc(size_t count, size_t size);
void* __libc_realloc(void* memory, size_t size);
// NOLINTEND(bugprone-reserved-identifier)
void* malloc(size_t size) {
    return fails() ? nullptr : __libc_malloc(size);
}
void* calloc(size_t count, size_t size) {
    return fails() ? nullptr : __libc_calloc(count, size);
}
void* realloc(void* memory, size_t size) {
    return fails() ? nullptr : __libc_realloc(memory, size);
}
}
#endif
