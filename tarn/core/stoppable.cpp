#include "core/stoppable.h"

#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>

#include "core/arrival.h"
#include "core/os_shell.h"

namespace os {
namespace {

constexpr int64_t kCenturyMs = int64_t{100} * 365 * 24 * 3600 * 1000;

// A shell at the head of a process group of its own; -1 when there is none to be had.
pid_t startGroup(const std::string& command) {
    posix_spawnattr_t attributes;
    if (posix_spawnattr_init(&attributes) != 0) {
        return -1;
    }
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETPGROUP);
    posix_spawnattr_setpgroup(&attributes, 0);
    const pid_t child = startShell(command, nullptr, &attributes);
    posix_spawnattr_destroy(&attributes);
    return child;
}

// The child stays a zombie: until it is taken away, its number names no other process.
void waitForEnd(pid_t child) {
    siginfo_t end{};
    while (waitid(P_PID, static_cast<id_t>(child), &end, WEXITED | WNOWAIT) != 0 && errno == EINTR) {
    }
}

}  // namespace

void Stoppable::stop() {
    const std::lock_guard lock(guard_);
    stopped_ = true;
    if (group_ > 0) {
        kill(-group_, SIGKILL);
    }
    wake_.notify_all();
}

bool Stoppable::stopped() const {
    const std::lock_guard lock(guard_);
    return stopped_;
}

bool Stoppable::pauseMs(int64_t milliseconds) {
    std::unique_lock lock(guard_);
    wake_.wait_for(lock, std::chrono::milliseconds(std::min(milliseconds, kCenturyMs)), [this] { return stopped_; });
    return !stopped_;
}

// Held over the start, so that no command begins behind the back of a stop.
pid_t Stoppable::start(const std::string& command) {
    const std::lock_guard lock(guard_);
    group_ = stopped_ ? 0 : startGroup(command);
    return group_;
}

std::optional<int> Stoppable::run(const std::string& command) {
    const Arrival arrival("command", command);
    const pid_t child = start(command);
    int status = -1;
    if (child > 0) {
        waitForEnd(child);
        const std::lock_guard lock(guard_);
        group_ = 0;
        waitpid(child, &status, 0);
    }
    vcfgEventStep("status", "", status, nullptr, 0);
    return stopped() ? std::nullopt : std::optional(status);
}

}  // namespace os
