#include "link_watch.h"

#include <linux/if.h>
#include <linux/netlink.h>
#include <linux/rtnetlink.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <optional>

namespace link_watch {
namespace {

std::string nameOf(std::string_view attributes) {
    while (attributes.size() >= sizeof(rtattr)) {
        rtattr attribute;
        std::memcpy(&attribute, attributes.data(), sizeof attribute);
        if (attribute.rta_len < sizeof attribute || attribute.rta_len > attributes.size()) {
            break;
        }
        if (attribute.rta_type == IFLA_IFNAME) {
            const auto value = attributes.substr(RTA_LENGTH(0), attribute.rta_len - RTA_LENGTH(0));
            return std::string(value.substr(0, value.find('\0')));
        }
        attributes.remove_prefix(std::min<size_t>(RTA_ALIGN(attribute.rta_len), attributes.size()));
    }
    return {};
}

std::optional<Change> linkOf(const nlmsghdr& header, std::string_view body) {
    ifinfomsg info;
    if (body.size() < sizeof info) {
        return std::nullopt;
    }
    std::memcpy(&info, body.data(), sizeof info);
    // A port that leaves a bridge is reported as deleted too, for the bridge family.
    if (info.ifi_family != AF_UNSPEC) {
        return std::nullopt;
    }
    Change change{.name = nameOf(body.substr(std::min<size_t>(NLMSG_ALIGN(sizeof info), body.size())))};
    change.up = header.nlmsg_type == RTM_NEWLINK && (info.ifi_flags & IFF_LOWER_UP) != 0;
    if (change.name.empty()) {
        return std::nullopt;
    }
    return change;
}

int boundSocket(uint32_t groups) {
    const int fd = socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC, NETLINK_ROUTE);
    if (fd < 0) {
        return -1;
    }
    sockaddr_nl address{};
    address.nl_family = AF_NETLINK;
    address.nl_groups = groups;
    if (bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0) {
        return fd;
    }
    close(fd);
    return -1;
}

// One datagram of the kernel; empty for one from anybody else. It stays valid until the next call.
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

bool requestAll(int fd) {
    struct {
        nlmsghdr header;
        ifinfomsg info;
    } request{};
    request.header.nlmsg_len = sizeof request;
    request.header.nlmsg_type = RTM_GETLINK;
    request.header.nlmsg_flags = NLM_F_REQUEST | NLM_F_DUMP;
    request.info.ifi_family = AF_UNSPEC;
    return send(fd, &request, sizeof request, 0) == static_cast<ssize_t>(sizeof request);
}

enum class Listing { complete, inconsistent, failed };

Listing readListing(int fd, std::vector<Change>& links) {
    links.clear();
    bool inconsistent = false;
    for (;;) {
        std::string_view datagram;
        if (!receive(fd, 0, datagram)) {
            return Listing::failed;
        }
        const Report part = decode(datagram);
        if (part.refused) {
            errno = EIO;
            return Listing::failed;
        }
        links.insert(links.end(), part.changes.begin(), part.changes.end());
        inconsistent |= part.inconsistent;
        if (part.listingEnded) {
            return inconsistent ? Listing::inconsistent : Listing::complete;
        }
    }
}

}  // namespace

Report decode(std::string_view datagram) {
    Report report;
    while (datagram.size() >= sizeof(nlmsghdr)) {
        nlmsghdr header;
        std::memcpy(&header, datagram.data(), sizeof header);
        if (header.nlmsg_len < sizeof header || header.nlmsg_len > datagram.size()) {
            break;
        }
        report.refused |= header.nlmsg_type == NLMSG_ERROR;
        report.inconsistent |= (header.nlmsg_flags & NLM_F_DUMP_INTR) != 0;
        if (header.nlmsg_type == NLMSG_DONE) {
            report.listingEnded = true;
        } else if (header.nlmsg_type == RTM_NEWLINK || header.nlmsg_type == RTM_DELLINK) {
            auto change = linkOf(header, datagram.substr(NLMSG_HDRLEN, header.nlmsg_len - NLMSG_HDRLEN));
            if (change) {
                report.changes.push_back(std::move(*change));
            }
        }
        datagram.remove_prefix(std::min<size_t>(NLMSG_ALIGN(header.nlmsg_len), datagram.size()));
    }
    return report;
}

int open() {
    return boundSocket(RTMGRP_LINK);
}

Reading read(int fd, std::vector<Change>& changes) {
    std::string_view datagram;
    if (!receive(fd, MSG_DONTWAIT, datagram)) {
        if (errno == EAGAIN || errno == EINTR) {
            return Reading::nothing;
        }
        if (errno != ENOBUFS) {
            return Reading::failed;
        }
        // What waits here is older than what was lost.
        while (receive(fd, MSG_DONTWAIT, datagram) || errno == ENOBUFS || errno == EINTR) {
        }
        return Reading::overrun;
    }
    changes = decode(datagram).changes;
    return Reading::changes;
}

bool list(std::vector<Change>& links) {
    const int fd = boundSocket(0);
    if (fd < 0) {
        return false;
    }
    Listing result = Listing::inconsistent;
    while (result == Listing::inconsistent) {
        result = requestAll(fd) ? readListing(fd, links) : Listing::failed;
    }
    const int reason = errno;
    close(fd);
    errno = reason;
    return result == Listing::complete;
}

}  // namespace link_watch
