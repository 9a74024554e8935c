#include "rtnetlink.h"

#include <unistd.h>

#include <cerrno>

namespace rtnetlink {

int open(uint32_t groups) {
    const int fd = socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC, NETLINK_ROUTE);
    sockaddr_nl address{};
    address.nl_family = AF_NETLINK;
    address.nl_groups = groups;
    if (fd >= 0 && bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0) {
        const int reason = errno;
        close(fd);
        errno = reason;
        return -1;
    }
    return fd;
}

bool receive(int fd, int flags, std::string_view& datagram) {
    static char buffer[1 << 16];
    sockaddr_nl from{};
    socklen_t fromSize = sizeof from;
    const ssize_t got = recvfrom(fd, buffer, sizeof buffer, flags, reinterpret_cast<sockaddr*>(&from), &fromSize);
    if (got < 0) {
        return false;
    }
    datagram = from.nl_pid == 0 ? std::string_view(buffer, static_cast<size_t>(got)) : std::string_view();
    return true;
}

bool send(int fd, const void* request, size_t size) {
    return ::send(fd, request, size, 0) == static_cast<ssize_t>(size);
}

}  // namespace rtnetlink
