// tarn/core/os.h and stoppable.h over the simulated world.
#include "core/os.h"

#include <cerrno>

#include "core/stoppable.h"
#include "short_memory.h"
#include "world.h"

namespace {

constexpr uint64_t kHangMs = 7000;
constexpr pid_t kOwnProcess = 4711;
const sim::Errand kWalk{"a walk up the layers", {"Ethernet.Link.", "PTM.Link.", "ATM.Link.", "PPP.Interface.3"}};

// A command takes its time only when it hangs; others run meanwhile, now and then.
int runOnPlatform(const std::string& command) {
    const short_memory::Spared spared;
    sim::World& w = sim::world();
    if (w.hangingCommands > 0) {
        w.hangingCommands -= 1;
        sim::fibers::sleepUntil(w.nowMs + kHangMs);
    }
    sim::fibers::perhapsYield();
    if (w.failingCommands > 0) {
        w.failingCommands -= 1;
        return 256;
    }
    return sim::platformRuns(command);
}

}  // namespace

namespace os {

int runCommand(const std::string& command) {
    return runOnPlatform(command);
}

std::optional<std::string> firstLineOf(const std::string&, size_t) {
    sim::fibers::perhapsYield();
    return "default via 192.0.2.1 dev eth0.4";
}

void systemLog(int, const std::string&) {
    sim::fibers::perhapsYield();
}

void standardOutput(const std::string&) {}

std::optional<std::string> readFile(const std::string& path, size_t limit) {
    const short_memory::Spared spared;
    const auto file = sim::world().files.find(path);
    return file != sim::world().files.end() ? std::optional(file->second.substr(0, limit)) : std::nullopt;
}

bool fileExists(const std::string& path) {
    return readFile(path, 0).has_value();
}

bool visitFile(const std::string& path, void (*visit)(std::string_view bytes, void* context), void* context) {
    const auto content = readFile(path, SIZE_MAX);
    if (content) {
        visit(*content, context);
    }
    return content.has_value();
}

bool writeFile(const std::string& path, std::string_view text) {
    const short_memory::Spared spared;
    sim::world().files[path] = text;
    return true;
}

int signalProcess(pid_t process, int signal) {
    const short_memory::Spared spared;
    if (sim::world().clientOf.count(process) == 0) {
        errno = ESRCH;
        return -1;
    }
    sim::clientSignalled(process, signal);
    return 0;
}

pid_t ownProcess() {
    return kOwnProcess;
}

void sleepMs(uint32_t milliseconds) {
    const short_memory::Spared spared;
    sim::fibers::sleepUntil(sim::world().nowMs + milliseconds);
}

std::optional<uint32_t> uptimeSeconds() {
    return static_cast<uint32_t>(sim::world().nowMs / 1000);
}

int64_t now() {
    return 1'700'000'000 + static_cast<int64_t>(sim::world().nowMs / 1000);
}

std::string kernelRelease() {
    return "4.4.115";
}

int startThread(void (*body)(void*), void* argument, size_t) {
    const short_memory::Spared spared;
    if (sim::world().refusedThreads > 0) {
        sim::world().refusedThreads -= 1;
        return VCFG_ERR_FAIL;
    }
    sim::fibers::start(kWalk.name, kWalk, [body, argument] { body(argument); });
    return VCFG_OK;
}

// --- threads that can be stopped ---

void Stoppable::stop() {
    stopped_ = true;
}

bool Stoppable::stopped() const {
    return stopped_;
}

bool Stoppable::pauseMs(int64_t milliseconds) {
    const short_memory::Spared spared;
    constexpr uint64_t kLook = 1000;  // a stop is noticed this soon
    const uint64_t until = sim::world().nowMs + static_cast<uint64_t>(milliseconds);
    while (!stopped_ && sim::world().nowMs < until) {
        sim::fibers::sleepUntil(std::min(until, sim::world().nowMs + kLook));
    }
    return !stopped_;
}

std::optional<int> Stoppable::run(const std::string& command) {
    const int result = stopped_ ? 0 : runOnPlatform(command);
    return stopped_ ? std::nullopt : std::optional(result);
}

}  // namespace os
