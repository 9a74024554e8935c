// Between libFuzzer and a target: besides what the sanitizers look for, an input must neither take more than a second
// of processor time nor make the heap grow by more than 64 MiB. It is processor time, because a busy machine must not
// look like a slow parser; what waits for ever is found by libFuzzer's own -timeout.
#include <gtest/gtest.h>
#include <sanitizer/allocator_interface.h>
#include <unistd.h>

#include <atomic>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <ctime>

#include "target.h"

namespace {

constexpr int64_t kMostNs = 1'000'000'000;
constexpr int64_t kMostGrowth = int64_t{64} << 20;

std::string name;
int report = -1;  // standard error, which libFuzzer takes away from the target
std::atomic<int64_t> inUse{0};
std::atomic<int64_t> peak{0};

void taken(const volatile void*, size_t size) {
    const int64_t now = inUse.fetch_add(static_cast<int64_t>(size)) + static_cast<int64_t>(size);
    if (now > peak.load()) {
        peak = now;
    }
}

void givenBack(const volatile void* memory) {
    if (memory != nullptr) {
        inUse -= static_cast<int64_t>(__sanitizer_get_allocated_size(memory));
    }
}

int64_t processorNs() {
    timespec now{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
    return int64_t{now.tv_sec} * 1'000'000'000 + now.tv_nsec;
}

}  // namespace

std::string targetName() {
    return name;
}

void finding(const std::string& what) {
    dprintf(report, "==FINDING: %s\n", what.c_str());
    abort();
}

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv);
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size);

extern "C" int LLVMFuzzerInitialize(int*, char*** argv) {
    report = dup(STDERR_FILENO);
    const std::string_view path = **argv;
    name = path.substr(path.rfind('/') + 1);
    testing::GTEST_FLAG(throw_on_failure) = true;  // a world that cannot be built finds nothing
    __sanitizer_install_malloc_and_free_hooks(taken, givenBack);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
    const int64_t since = processorNs();
    const int64_t before = inUse.load();
    peak = before;
    handleInput({reinterpret_cast<const char*>(bytes), size});
    if (const int64_t took = processorNs() - since; took > kMostNs) {
        finding("one input took " + std::to_string(took) + " ns");
    }
    if (const int64_t growth = peak.load() - before; growth > kMostGrowth) {
        finding("one input made the heap grow by " + std::to_string(growth) + " bytes");
    }
    return 0;
}
