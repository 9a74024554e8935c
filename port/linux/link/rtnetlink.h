// What the watchers of links and of routes have in common: the sockets of rtnetlink, and the framing of what it says.
#pragma once

#include <linux/netlink.h>
#include <linux/rtnetlink.h>
#include <sys/socket.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string_view>

namespace rtnetlink {

// A socket that hears of the groups' changes; -1 with errno set.
int open(uint32_t groups);

// One datagram of the kernel; empty for one from anybody else. It stays valid until the next call.
bool receive(int fd, int flags, std::string_view& datagram);

bool send(int fd, const void* request, size_t size);

// Asks for all there are, of all families: RTM_GETLINK with ifinfomsg, RTM_GETROUTE with rtmsg.
template <class Body>
bool requestAll(int fd, uint16_t type) {
    struct {
        nlmsghdr header;
        Body body;
    } request{};
    request.header.nlmsg_len = sizeof request;
    request.header.nlmsg_type = type;
    request.header.nlmsg_flags = NLM_F_REQUEST | NLM_F_DUMP;
    return send(fd, &request, sizeof request);
}

// Calls take(header, body) for each message of a datagram, up to one that is not whole.
template <class Take>
void forEachMessage(std::string_view datagram, const Take& take) {
    while (datagram.size() >= sizeof(nlmsghdr)) {
        nlmsghdr header;
        std::memcpy(&header, datagram.data(), sizeof header);
        if (header.nlmsg_len < sizeof header || header.nlmsg_len > datagram.size()) {
            return;
        }
        take(header, datagram.substr(NLMSG_HDRLEN, header.nlmsg_len - NLMSG_HDRLEN));
        datagram.remove_prefix(std::min<size_t>(NLMSG_ALIGN(header.nlmsg_len), datagram.size()));
    }
}

// Calls take(type, value) for each attribute behind the first `head` bytes of a message's body, up to one that is not
// whole.
template <class Take>
void forEachAttribute(std::string_view body, size_t head, const Take& take) {
    body.remove_prefix(std::min<size_t>(NLMSG_ALIGN(head), body.size()));
    while (body.size() >= sizeof(rtattr)) {
        rtattr attribute;
        std::memcpy(&attribute, body.data(), sizeof attribute);
        if (attribute.rta_len < sizeof attribute || attribute.rta_len > body.size()) {
            return;
        }
        take(attribute.rta_type, body.substr(RTA_LENGTH(0), attribute.rta_len - RTA_LENGTH(0)));
        body.remove_prefix(std::min<size_t>(RTA_ALIGN(attribute.rta_len), body.size()));
    }
}

}  // namespace rtnetlink
