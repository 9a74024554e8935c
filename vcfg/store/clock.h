// Times since the start of the system.
#pragma once

#include <cstdint>
#include <ctime>

namespace vcfg {

// One function for all: behind a system call, what is called again is nearer than what stands here once more.
[[gnu::noinline]] inline int64_t timeUs(clockid_t clock) {
    timespec now{};
    clock_gettime(clock, &now);
    return int64_t{now.tv_sec} * 1000000 + now.tv_nsec / 1000;
}

inline int64_t monotonicUs() {
    return timeUs(CLOCK_MONOTONIC);
}

// A few milliseconds late, for a fraction of the price.
inline int64_t coarseUs() {
    return timeUs(CLOCK_MONOTONIC_COARSE);
}

}  // namespace vcfg
