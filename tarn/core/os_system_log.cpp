// The system log's socket.
#include <sys/socket.h>
#include <sys/un.h>
#include <syslog.h>
#include <time.h>
#include <unistd.h>

#include <cerrno>

#include "core/os_log.h"

namespace os {
namespace {

constexpr size_t kLongestText = 128u << 10;  // a datagram of the system log has to hold it

std::string timeOfDay() {
    const time_t now = time(nullptr);
    tm local{};
    char text[32] = "";
    localtime_r(&now, &local);
    strftime(text, sizeof text, "%h %e %T", &local);
    return text;
}

}  // namespace

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

}  // namespace os
