#include "injector.h"

#include <execinfo.h>
#include <unistd.h>

#include <atomic>
#include <string_view>
#include <utility>

namespace {

using faults::Kind;

constexpr int kFrames = 24;

std::atomic<Kind> armedKind{Kind::None};
std::atomic<uint32_t> failing{0};
std::atomic<uint32_t> seen{0};
std::atomic<bool> struck{false};
void* frames[kFrames];
int frameCount = 0;

std::atomic<bool> allExposed{false};
thread_local bool exposed = allExposed;

void tellAtOnce() {
    constexpr std::string_view kLine = "the call fails:\n";
    if (write(STDERR_FILENO, kLine.data(), kLine.size()) > 0) {
        faults::tellWhere(STDERR_FILENO);
    }
}

}  // namespace

namespace faults {

const char* nameOf(Kind kind) {
    constexpr const char* kNames[] = {"no", "memory", "framework", "system"};
    return kNames[static_cast<uint32_t>(kind)];
}

// The first trace loads a library, which is no part of what is watched.
void arm(Kind kind, uint32_t number) {
    backtrace(frames, 1);
    failing = number;
    seen = 0;
    struck = false;
    armedKind = kind;
}

uint32_t disarm() {
    armedKind = Kind::None;
    return seen;
}

bool hasStruck() {
    return struck;
}

bool strikes(Kind kind) {
    if (armedKind != kind || !exposed || ++seen != failing) {
        return false;
    }
    const Spared whileItIsNoted;
    frameCount = backtrace(frames, kFrames);
    struck = true;
    if (allExposed) {
        tellAtOnce();
    }
    return true;
}

void exposeAll() {
    allExposed = true;
    exposed = true;
}

void tellWhere(int descriptor) {
    backtrace_symbols_fd(frames, frameCount, descriptor);
}

Exposed::Exposed() : outside_(std::exchange(exposed, true)) {}

Exposed::~Exposed() {
    exposed = outside_;
}

Spared::Spared() : outside_(std::exchange(exposed, false)) {}

Spared::~Spared() {
    exposed = outside_;
}

}  // namespace faults
