#include "core/os_log.h"

#include <poll.h>
#include <sys/socket.h>
#include <syslog.h>
#include <time.h>
#include <unistd.h>

#include <cerrno>

#include "core/os.h"

namespace os {
namespace {

constexpr int64_t kPatienceMs = 200;
constexpr int64_t kLeaveAloneMs = 5000;

bool isFull(int error) {
    return error == EAGAIN || error == ENOBUFS || error == ENOMEM;
}

int64_t monotonicMs() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return int64_t{now.tv_sec} * 1000 + now.tv_nsec / 1000000;
}

}  // namespace

void LogOutlet::put(int priority, const std::string& text) {
    const std::lock_guard lock(mutex_);
    if (lost_ != 0 && !take(LOG_WARNING, std::to_string(lost_) + " log lines were lost: nobody took them\n")) {
        ++lost_;
        return;
    }
    lost_ = take(priority, text) ? 0 : 1;
}

bool LogOutlet::roomComes(int descriptor) {
    const int64_t now = monotonicMs();
    if (!stalledSinceMs_ || now >= *stalledSinceMs_ + kPatienceMs + kLeaveAloneMs) {
        stalledSinceMs_ = now;
    }
    const int64_t left = *stalledSinceMs_ + kPatienceMs - now;
    pollfd state{descriptor, POLLOUT, 0};
    return left > 0 && poll(&state, 1, static_cast<int>(left)) > 0;
}

ssize_t LogOutlet::sendNow(int descriptor, const char* bytes, size_t size) {
    return send(descriptor, bytes, size, MSG_DONTWAIT | MSG_NOSIGNAL);
}

LogOutlet::Outcome LogOutlet::finish(int descriptor, Offer offer) {
    while (!unfinished_.empty()) {
        const ssize_t taken = offer(descriptor, unfinished_.data(), unfinished_.size());
        if (taken > 0) {
            unfinished_.erase(0, static_cast<size_t>(taken));
            stalledSinceMs_.reset();
        } else if (!isFull(errno)) {
            return Outcome::Broken;
        } else if (!roomComes(descriptor)) {
            return Outcome::Full;
        }
    }
    return Outcome::Taken;
}

LogOutlet::Outcome LogOutlet::write(int descriptor, const std::string& line, Offer offer) {
    const Outcome before = finish(descriptor, offer);
    if (before != Outcome::Taken) {
        return before;
    }
    unfinished_ = line;
    const Outcome outcome = finish(descriptor, offer);
    if (outcome == Outcome::Full && unfinished_.size() < line.size()) {
        return Outcome::Taken;
    }
    forgetUnfinished();
    return outcome;
}

// Both live as long as the process: other threads may log until it has gone.
void systemLog(int priority, const std::string& text) {
    static SystemLog& log = *new SystemLog("/dev/log");
    log.put(priority, text);
}

void standardOutput(const std::string& text) {
    static SharedOutput& output = *new SharedOutput(STDOUT_FILENO);
    output.put(LOG_INFO, text);
}

}  // namespace os
