#include "kernel_event.h"

#include <linux/netlink.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

#include <cerrno>
#include <charconv>
#include <cstdio>
#include <cstring>

namespace kernel_event {
namespace {

Delivery deliveryOf(int error) {
    switch (error) {
        case ECONNREFUSED:
            return Delivery::nobody;
        case EAGAIN:
        case ENOBUFS:
            return Delivery::full;
        default:
            return Delivery::failed;
    }
}

void limitWait(int fd, unsigned timeoutMs) {
    const timeval limit{.tv_sec = static_cast<time_t>(timeoutMs / 1000),
                        .tv_usec = static_cast<suseconds_t>(timeoutMs % 1000 * 1000)};
    setsockopt(fd, SOL_SOCKET, SO_SNDTIMEO, &limit, sizeof limit);
}

// The kernel's own datagrams are not held to a sender's buffer size, so neither are these.
void makeRoomFor(int fd, size_t size) {
    const int wanted = static_cast<int>(size) + 4096;
    if (setsockopt(fd, SOL_SOCKET, SO_SNDBUFFORCE, &wanted, sizeof wanted) != 0) {
        setsockopt(fd, SOL_SOCKET, SO_SNDBUF, &wanted, sizeof wanted);
    }
}

}  // namespace

std::optional<pid_t> registeredProcess(const std::string& file) {
    FILE* stream = std::fopen(file.c_str(), "re");
    if (stream == nullptr) {
        return std::nullopt;
    }
    char text[32] = "";
    const bool read = std::fgets(text, sizeof text, stream) != nullptr;
    std::fclose(stream);
    pid_t process = 0;
    const auto [end, error] = std::from_chars(text, text + std::strlen(text), process);
    if (!read || error != std::errc() || process <= 0 || (*end != '\0' && *end != '\n' && *end != ' ')) {
        return std::nullopt;
    }
    return process;
}

std::string message(uint16_t type, const std::optional<std::string>& text, uint32_t sequence) {
    const size_t payload = text ? text->size() + 1 : 0;
    const nlmsghdr header{.nlmsg_len = static_cast<uint32_t>(NLMSG_HDRLEN + payload),
                          .nlmsg_type = type,
                          .nlmsg_flags = 0,
                          .nlmsg_seq = sequence,
                          .nlmsg_pid = 0};
    std::string datagram(reinterpret_cast<const char*>(&header), sizeof header);
    if (text) {
        datagram += *text;
    }
    datagram.resize(NLMSG_ALIGN(NLMSG_HDRLEN + payload), '\0');
    return datagram;
}

Delivery send(pid_t process, std::string_view datagram, unsigned timeoutMs, std::string& error) {
    const int fd = socket(AF_NETLINK, SOCK_DGRAM | SOCK_CLOEXEC, NETLINK_USERSOCK);
    if (fd < 0) {
        error = std::string("no netlink socket: ") + std::strerror(errno);
        return Delivery::failed;
    }
    limitWait(fd, timeoutMs);
    makeRoomFor(fd, datagram.size());
    sockaddr_nl to{};
    to.nl_family = AF_NETLINK;
    to.nl_pid = static_cast<uint32_t>(process);
    const ssize_t sent = sendto(fd, datagram.data(), datagram.size(), 0, reinterpret_cast<sockaddr*>(&to), sizeof to);
    const int reason = errno;
    close(fd);
    if (sent == static_cast<ssize_t>(datagram.size())) {
        return Delivery::done;
    }
    const Delivery result = deliveryOf(reason);
    error = "process " + std::to_string(process);
    if (result == Delivery::nobody) {
        error += " does not listen for kernel events";
    } else if (result == Delivery::full) {
        error += " does not take its kernel events: its queue is full";
    } else {
        error += std::string(" could not be sent the event: ") + std::strerror(reason);
    }
    return result;
}

}  // namespace kernel_event
