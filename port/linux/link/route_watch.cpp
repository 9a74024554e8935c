#include "route_watch.h"

#include <arpa/inet.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <optional>

#include "rtnetlink.h"

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

void readAttributes(std::string_view body, Change& change) {
    rtnetlink::forEachAttribute(body, sizeof(rtmsg), [&change](uint16_t type, std::string_view value) {
        if (type == RTA_OIF) {
            change.route.device = numberIn(value);
        } else if (type == RTA_PRIORITY) {
            change.route.metric = numberIn(value);
        } else if (type == RTA_GATEWAY) {
            change.gateway = addressIn(value, change.route.family);
        }
    });
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
    readAttributes(body, change);
    return change.route.device != 0 ? std::optional(change) : std::nullopt;
}

}  // namespace

std::vector<Change> decode(std::string_view datagram) {
    std::vector<Change> changes;
    rtnetlink::forEachMessage(datagram, [&changes](const nlmsghdr& header, std::string_view body) {
        if (header.nlmsg_type == RTM_NEWROUTE || header.nlmsg_type == RTM_DELROUTE) {
            auto change = changeOf(header, body);
            if (change) {
                changes.push_back(std::move(*change));
            }
        }
    });
    return changes;
}

int open() {
    const int fd = rtnetlink::open(RTMGRP_IPV4_ROUTE | RTMGRP_IPV6_ROUTE);
    if (fd >= 0 && !rtnetlink::requestAll<rtmsg>(fd, RTM_GETROUTE)) {
        const int reason = errno;
        close(fd);
        errno = reason;
        return -1;
    }
    return fd;
}

bool read(int fd, std::vector<Change>& changes) {
    std::string_view datagram;
    const bool isRead = rtnetlink::receive(fd, MSG_DONTWAIT, datagram);
    changes = decode(datagram);
    return isRead || errno == EAGAIN || errno == EINTR;
}

}  // namespace route_watch
