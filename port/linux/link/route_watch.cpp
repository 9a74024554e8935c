#include "route_watch.h"

#include <arpa/inet.h>
#include <linux/netlink.h>
#include <linux/rtnetlink.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <optional>

namespace route_watch {
namespace {

uint32_t numberIn(std::string_view value) {
    uint32_t number = 0;
    std::memcpy(&number, value.data(), std::min(value.size(), sizeof number));
    return number;
}

std::string addressIn(std::string_view value, int family) {
    char text[INET6_ADDRSTRLEN] = "";
    const size_t size = family == AF_INET6 ? sizeof(in6_addr) : sizeof(in_addr);
    return value.size() == size && inet_ntop(family, value.data(), text, sizeof text) != nullptr ? text : "";
}

void readAttributes(std::string_view attributes, Change& change) {
    while (attributes.size() >= sizeof(rtattr)) {
        rtattr attribute;
        std::memcpy(&attribute, attributes.data(), sizeof attribute);
        if (attribute.rta_len < sizeof attribute || attribute.rta_len > attributes.size()) {
            return;
        }
        const auto value = attributes.substr(RTA_LENGTH(0), attribute.rta_len - RTA_LENGTH(0));
        if (attribute.rta_type == RTA_OIF) {
            change.route.device = numberIn(value);
        } else if (attribute.rta_type == RTA_PRIORITY) {
            change.route.metric = numberIn(value);
        } else if (attribute.rta_type == RTA_GATEWAY) {
            change.gateway = addressIn(value, change.route.family);
        }
        attributes.remove_prefix(std::min<size_t>(RTA_ALIGN(attribute.rta_len), attributes.size()));
    }
}

std::optional<Change> changeOf(const nlmsghdr& header, std::string_view body) {
    rtmsg route;
    if (body.size() < sizeof route) {
        return std::nullopt;
    }
    std::memcpy(&route, body.data(), sizeof route);
    const bool isIp = route.rtm_family == AF_INET || route.rtm_family == AF_INET6;
    if (!isIp || route.rtm_dst_len != 0 || route.rtm_table != RT_TABLE_MAIN || route.rtm_type != RTN_UNICAST) {
        return std::nullopt;
    }
    Change change;
    change.route.family = route.rtm_family;
    change.isThere = header.nlmsg_type == RTM_NEWROUTE;
    change.isListed = (header.nlmsg_flags & NLM_F_MULTI) != 0;
    change.socket = header.nlmsg_pid;
    readAttributes(body.substr(std::min<size_t>(NLMSG_ALIGN(sizeof route), body.size())), change);
    return change.route.device != 0 ? std::optional(change) : std::nullopt;
}

bool listen(int fd) {
    sockaddr_nl address{};
    address.nl_family = AF_NETLINK;
    address.nl_groups = RTMGRP_IPV4_ROUTE | RTMGRP_IPV6_ROUTE;
    struct {
        nlmsghdr header;
        rtmsg route;
    } request{};
    request.header.nlmsg_len = sizeof request;
    request.header.nlmsg_type = RTM_GETROUTE;
    request.header.nlmsg_flags = NLM_F_REQUEST | NLM_F_DUMP;
    request.route.rtm_family = AF_UNSPEC;
    return bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0 &&
           send(fd, &request, sizeof request, 0) == static_cast<ssize_t>(sizeof request);
}

}  // namespace

std::vector<Change> decode(std::string_view datagram) {
    std::vector<Change> changes;
    while (datagram.size() >= sizeof(nlmsghdr)) {
        nlmsghdr header;
        std::memcpy(&header, datagram.data(), sizeof header);
        if (header.nlmsg_len < sizeof header || header.nlmsg_len > datagram.size()) {
            break;
        }
        if (header.nlmsg_type == RTM_NEWROUTE || header.nlmsg_type == RTM_DELROUTE) {
            auto change = changeOf(header, datagram.substr(NLMSG_HDRLEN, header.nlmsg_len - NLMSG_HDRLEN));
            if (change) {
                changes.push_back(std::move(*change));
            }
        }
        datagram.remove_prefix(std::min<size_t>(NLMSG_ALIGN(header.nlmsg_len), datagram.size()));
    }
    return changes;
}

int open() {
    const int fd = socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC, NETLINK_ROUTE);
    if (fd >= 0 && !listen(fd)) {
        const int reason = errno;
        close(fd);
        errno = reason;
        return -1;
    }
    return fd;
}

bool read(int fd, std::vector<Change>& changes) {
    static char buffer[1 << 16];
    sockaddr_nl from{};
    socklen_t size = sizeof from;
    const ssize_t got = recvfrom(fd, buffer, sizeof buffer, MSG_DONTWAIT, reinterpret_cast<sockaddr*>(&from), &size);
    changes.clear();
    if (got >= 0 && from.nl_pid == 0) {  // the kernel's own
        changes = decode({buffer, static_cast<size_t>(got)});
    }
    return got >= 0 || errno == EAGAIN || errno == EINTR;
}

}  // namespace route_watch
