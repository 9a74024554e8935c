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

void logLine(const char* channel, int level, const std::string& text) {
    const std::lock_guard lock(world().guard);
    world().log.push_back({channel, level, "", withoutNewline(text)});
}

}  // namespace

namespace os {

int runCommand(const std::string& command) {
    const std::lock_guard lock(world().guard);
    world().commands.push_back(command);
    if (const auto took = world().commandDurations.find(command); took != world().commandDurations.end()) {
        world().clockMs += took->second;
    }
    const auto result = world().commandResults.find(command);
    return result != world().commandResults.end() ? result->second : 0;
}

std::optional<std::string> firstLineOf(const std::string& command, size_t limit) {
    const std::lock_guard lock(world().guard);
    world().commands.push_back(command);
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
    world().files[path] = text;
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
    return world().clockMs / 1000;
}

int64_t now() {
    constexpr int64_t kTestEpoch = 1'700'000'000;
    const std::lock_guard lock(world().guard);
    return kTestEpoch + world().clockMs / 1000;
}

std::string kernelRelease() {
    return "4.4.115";
}

bool startThread(void (*body)(void*), void* argument) {
    const std::lock_guard lock(world().guard);
    if (world().threadsRefused) {
        return false;
    }
    world().threads.push_back({body, argument});
    return true;
}

}  // namespace os
