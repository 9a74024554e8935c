// tarn/core/os.h for tests: nothing reaches the real system, all of it is written down.

#include <cerrno>
#include <csignal>

#include "core/os.h"
#include "world.h"

using kit::world;

namespace {

std::string withoutNewline(std::string text) {
    if (!text.empty() && text.back() == '\n') {
        text.pop_back();
    }
    return text;
}

// What the test lets happen meanwhile, without the world's guard: it may be a whole event.
void letHappen(const std::string& command) {
    std::function<void()> happens;
    {
        const std::lock_guard lock(world().guard);
        world().commands.push_back(command);
        const auto found = world().commandEvents.find(command);
        happens = found != world().commandEvents.end() ? found->second : nullptr;
    }
    if (happens) {
        happens();
    }
}

void logLine(const char* channel, int level, const std::string& text) {
    const std::lock_guard lock(world().guard);
    world().log.push_back({channel, level, "", withoutNewline(text)});
}

}  // namespace

namespace os {

int runCommand(const std::string& command) {
    letHappen(command);
    const std::lock_guard lock(world().guard);
    if (const auto took = world().commandDurations.find(command); took != world().commandDurations.end()) {
        world().clockMs += took->second;
    }
    const auto result = world().commandResults.find(command);
    return result != world().commandResults.end() ? result->second : 0;
}

std::optional<std::string> firstLineOf(const std::string& command, size_t limit) {
    letHappen(command);
    const std::lock_guard lock(world().guard);
    const auto output = world().commandOutputs.find(command);
    if (output == world().commandOutputs.end()) {
        return std::nullopt;
    }
    return output->second.substr(0, limit);
}

void systemLog(int priority, const std::string& text) {
    logLine("syslog", priority, text);
}

void standardOutput(const std::string& text) {
    logLine("stdout", 0, text);
}

std::optional<std::string> readFile(const std::string& path, size_t limit) {
    const std::lock_guard lock(world().guard);
    const auto file = world().files.find(path);
    return file != world().files.end() ? std::optional(file->second.substr(0, limit)) : std::nullopt;
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
    const std::lock_guard lock(world().guard);
    if (world().unwritable.count(path) != 0) {
        return false;
    }
    world().files[path] = world().fullDisks.count(path) == 0 ? text : "";
    return true;
}

int signalProcess(pid_t process, int signal) {
    const std::lock_guard lock(world().guard);
    if (world().alive.count(process) == 0) {
        errno = ESRCH;
        return -1;
    }
    if (signal != 0) {
        world().signals.emplace_back(process, signal);
    }
    return 0;
}

pid_t ownProcess() {
    return 4711;
}

void sleepMs(uint32_t milliseconds) {
    const std::lock_guard lock(world().guard);
    world().sleeps.push_back(milliseconds);
    world().clockMs += milliseconds;
}

std::optional<uint32_t> uptimeSeconds() {
    const std::lock_guard lock(world().guard);
    return world().uptimeKnown ? std::optional(world().clockMs / 1000) : std::nullopt;
}

int64_t now() {
    constexpr int64_t kTestEpoch = 1'700'000'000;
    const std::lock_guard lock(world().guard);
    return kTestEpoch + world().clockMs / 1000;
}

std::string kernelRelease() {
    return "4.4.115";
}

int startThread(void (*body)(void*), void* argument, size_t) {
    const std::lock_guard lock(world().guard);
    if (world().threadsRefused) {
        return VCFG_ERR_FAIL;
    }
    world().threads.push_back({body, argument});
    return VCFG_OK;
}

}  // namespace os
