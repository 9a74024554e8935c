#include "core/os_log.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <syslog.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <csignal>

#include "core/os.h"

namespace os {
namespace {

constexpr size_t kLongestText = 128u << 10;  // a datagram of the system log has to hold it
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

ssize_t sendNow(int descriptor, const char* bytes, size_t size) {
    return send(descriptor, bytes, size, MSG_DONTWAIT | MSG_NOSIGNAL);
}

// A reader that is gone is an error like any other here, and no signal for the process.
ssize_t writeNow(int descriptor, const char* bytes, size_t size) {
    sigset_t pipe;
    sigset_t before;
    sigemptyset(&pipe);
    sigaddset(&pipe, SIGPIPE);
    pthread_sigmask(SIG_BLOCK, &pipe, &before);
    const ssize_t taken = ::write(descriptor, bytes, size);
    const int error = errno;
    if (taken < 0 && error == EPIPE) {
        const timespec now{};
        sigtimedwait(&pipe, nullptr, &now);
    }
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    errno = error;
    return taken;
}

// For a descriptor that may wait: what a pipe takes without, once it says that it takes anything.
ssize_t writeWhenReady(int descriptor, const char* bytes, size_t size) {
    pollfd state{descriptor, POLLOUT, 0};
    if (poll(&state, 1, 0) == 0) {
        errno = EAGAIN;
        return -1;
    }
    return writeNow(descriptor, bytes, std::min<size_t>(size, PIPE_BUF));
}

std::string timeOfDay() {
    const time_t now = time(nullptr);
    tm local{};
    char text[32] = "";
    localtime_r(&now, &local);
    strftime(text, sizeof text, "%h %e %T", &local);
    return text;
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

SystemLog::~SystemLog() {
    close(socket_);
}

bool SystemLog::take(int priority, const std::string& text) {
    if (socket_ >= 0) {
        const Outcome outcome = write(socket_, record(priority, text), sendNow);
        if (outcome != Outcome::Broken) {
            return outcome == Outcome::Taken;
        }
    }
    return reconnect() && write(socket_, record(priority, text), sendNow) == Outcome::Taken;
}

bool SystemLog::connectAs(int type) {
    close(socket_);
    socket_ = socket(AF_UNIX, type | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
    isStream_ = type == SOCK_STREAM;
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    path_.copy(address.sun_path, sizeof address.sun_path - 1);
    return connect(socket_, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
}

bool SystemLog::reconnect() {
    forgetUnfinished();
    if (connectAs(SOCK_DGRAM) || connectAs(SOCK_STREAM)) {
        return true;
    }
    close(socket_);
    socket_ = -1;
    return false;
}

// As every program's syslog() writes it: a stream's records end with a NUL.
std::string SystemLog::record(int priority, const std::string& text) const {
    std::string line = "<" + std::to_string(priority | LOG_USER) + ">" + timeOfDay() + " " +
                       program_invocation_short_name + ": " + text.substr(0, kLongestText);
    if (isStream_) {
        line.push_back('\0');
    }
    return line;
}

SharedOutput::SharedOutput(int descriptor) : shared_(descriptor), own_(-1), offer_(writeWhenReady) {
    struct stat status {};
    if (fstat(descriptor, &status) != 0 || S_ISREG(status.st_mode)) {
        return;
    }
    if (S_ISSOCK(status.st_mode)) {
        offer_ = sendNow;
        return;
    }
    const std::string path = "/proc/self/fd/" + std::to_string(descriptor);
    own_ = open(path.c_str(), O_WRONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
    offer_ = own_ >= 0 ? writeNow : writeWhenReady;
}

SharedOutput::~SharedOutput() {
    close(own_);
}

bool SharedOutput::take(int /*priority*/, const std::string& text) {
    const Outcome outcome = write(own_ >= 0 ? own_ : shared_, text, offer_);
    if (outcome == Outcome::Broken) {
        forgetUnfinished();
    }
    return outcome == Outcome::Taken;
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
