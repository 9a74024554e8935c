#include "service_manager.h"

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstddef>
#include <cstdio>
#include <cstdlib>

namespace {

std::string take(const char* name) {
    const char* const value = getenv(name);
    std::string taken = value != nullptr ? value : "";
    unsetenv(name);
    return taken;
}

uint32_t milliseconds(const std::string& microseconds) {
    constexpr unsigned long long kLongest = 3600000;
    const unsigned long long whole = strtoull(microseconds.c_str(), nullptr, 10) / 1000;
    return static_cast<uint32_t>(whole < kLongest ? whole : kLongest);
}

}  // namespace

ServiceManager ServiceManager::ofEnvironment() {
    ServiceManager manager;
    manager.socket_ = take("NOTIFY_SOCKET");
    manager.patienceMs_ = milliseconds(take("WATCHDOG_USEC"));
    take("WATCHDOG_PID");
    return manager;
}

// A name that begins with '@' is one without a file: its first byte is a NUL.
void ServiceManager::tell(const std::string& text) const {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (socket_.empty() || socket_.size() >= sizeof address.sun_path) {
        return;
    }
    socket_.copy(address.sun_path, socket_.size());
    if (address.sun_path[0] == '@') {
        address.sun_path[0] = '\0';
    }
    const auto length = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + socket_.size());
    const int descriptor = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (sendto(descriptor, text.data(), text.size(), MSG_NOSIGNAL, reinterpret_cast<const sockaddr*>(&address),
               length) < 0) {
        perror("port-attend: the service manager is not told");
    }
    close(descriptor);
}
