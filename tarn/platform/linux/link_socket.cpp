#include "platform/linux/link_socket.h"

#include <linux/netlink.h>
#include <linux/rtnetlink.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cerrno>

namespace link_socket {
namespace {

constexpr size_t kLargestDatagram = 32768;  // the kernel makes no larger ones
constexpr int kRoomForBursts = 1 << 20;

constexpr int kAttempts = 10;

int bound(uint32_t groups) {
    const int descriptor = socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC, NETLINK_ROUTE);
    if (descriptor < 0) {
        return -1;
    }
    sockaddr_nl address{};
    address.nl_family = AF_NETLINK;
    address.nl_groups = groups;
    if (bind(descriptor, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0) {
        return descriptor;
    }
    close(descriptor);
    return -1;
}

Reading readingOf(int error) {
    if (error == EAGAIN || error == EINTR) {
        return Reading::Nothing;
    }
    return error == ENOBUFS ? Reading::Lost : Reading::Failed;
}

Reading receive(int descriptor, int flags, std::string_view& datagram) {
    static std::array<char, kLargestDatagram> buffer;
    sockaddr_nl from{};
    socklen_t fromSize = sizeof from;
    const ssize_t got =
        recvfrom(descriptor, buffer.data(), buffer.size(), flags, reinterpret_cast<sockaddr*>(&from), &fromSize);
    if (got < 0) {
        return readingOf(errno);
    }
    datagram = from.nl_pid == 0 ? std::string_view(buffer.data(), static_cast<size_t>(got)) : std::string_view();
    return Reading::Datagram;
}

// What finds no room all the same is lost, and made up for by a look at all links.
void makeRoom(int descriptor) {
    if (setsockopt(descriptor, SOL_SOCKET, SO_RCVBUFFORCE, &kRoomForBursts, sizeof kRoomForBursts) != 0) {
        setsockopt(descriptor, SOL_SOCKET, SO_RCVBUF, &kRoomForBursts, sizeof kRoomForBursts);
    }
}

template <class Body>
bool ask(int descriptor, uint16_t type, uint16_t flags, const Body& body) {
    struct {
        nlmsghdr header;
        Body body;
    } request{};
    request.header.nlmsg_len = sizeof request;
    request.header.nlmsg_type = type;
    request.header.nlmsg_flags = static_cast<uint16_t>(NLM_F_REQUEST | flags);
    request.body = body;
    return send(descriptor, &request, sizeof request, 0) == static_cast<ssize_t>(sizeof request);
}

enum class Listing { Complete, Inconsistent, Failed };

Listing readListing(int descriptor, std::vector<link_messages::Link>& links) {
    bool inconsistent = false;
    while (true) {
        std::string_view bytes;
        if (receive(descriptor, 0, bytes) != Reading::Datagram) {
            return Listing::Failed;
        }
        const auto part = link_messages::decode(bytes);
        if (part.refused) {
            return Listing::Failed;
        }
        links.insert(links.end(), part.links.begin(), part.links.end());
        inconsistent |= part.inconsistent;
        if (part.listEnded) {
            return inconsistent ? Listing::Inconsistent : Listing::Complete;
        }
    }
}

// Links that come and go meanwhile make another attempt; those that never rest are taken as they were met.
Listing listBy(int descriptor, std::vector<link_messages::Link>& links) {
    Listing result = Listing::Inconsistent;
    for (int attempt = 0; attempt < kAttempts && result == Listing::Inconsistent; ++attempt) {
        links.clear();
        const bool asked = ask(descriptor, RTM_GETLINK, NLM_F_DUMP, ifinfomsg{});
        result = asked ? readListing(descriptor, links) : Listing::Failed;
    }
    return result;
}

}  // namespace

int open() {
    const int descriptor = bound(RTMGRP_LINK);
    if (descriptor >= 0) {
        makeRoom(descriptor);
    }
    return descriptor;
}

Reading receive(int descriptor, std::string_view& datagram) {
    return receive(descriptor, MSG_DONTWAIT, datagram);
}

void drain(int descriptor) {
    std::string_view datagram;
    Reading reading = Reading::Datagram;
    while (reading == Reading::Datagram || reading == Reading::Lost) {
        reading = receive(descriptor, datagram);
    }
}

void knock(int descriptor) {
    ask(descriptor, NLMSG_NOOP, NLM_F_ACK, ifinfomsg{});
}

std::optional<std::vector<link_messages::Link>> list() {
    const int descriptor = bound(0);
    if (descriptor < 0) {
        return std::nullopt;
    }
    std::vector<link_messages::Link> links;
    const Listing result = listBy(descriptor, links);
    close(descriptor);
    return result != Listing::Failed ? std::optional(std::move(links)) : std::nullopt;
}

}  // namespace link_socket
