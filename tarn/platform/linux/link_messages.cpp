#include "platform/linux/link_messages.h"

#include <linux/if.h>
#include <linux/if_arp.h>
#include <linux/netlink.h>
#include <linux/rtnetlink.h>
#include <sys/socket.h>

#include <algorithm>
#include <cstring>
#include <optional>

namespace link_messages {
namespace {

// What lies at the front of `bytes`; nothing when they are too few.
template <class T>
std::optional<T> front(std::string_view bytes) {
    T value;
    if (bytes.size() < sizeof value) {
        return std::nullopt;
    }
    std::memcpy(&value, bytes.data(), sizeof value);
    return value;
}

std::string_view after(std::string_view bytes, size_t length) {
    return bytes.substr(std::min(length, bytes.size()));
}

std::string nameOf(std::string_view attributes) {
    while (const auto attribute = front<rtattr>(attributes)) {
        if (attribute->rta_len < sizeof(rtattr) || attribute->rta_len > attributes.size()) {
            break;
        }
        if (attribute->rta_type == IFLA_IFNAME) {
            const auto value = attributes.substr(RTA_LENGTH(0), attribute->rta_len - RTA_LENGTH(0));
            return std::string(value.substr(0, value.find('\0')));
        }
        attributes = after(attributes, RTA_ALIGN(attribute->rta_len));
    }
    return {};
}

// A port that leaves a bridge is reported as deleted too, for the bridge family.
bool isPort(const ifinfomsg& info) {
    return info.ifi_family == AF_UNSPEC && info.ifi_type == ARPHRD_ETHER && info.ifi_index > 0;
}

std::optional<Link> linkOf(uint16_t type, std::string_view body) {
    const auto info = front<ifinfomsg>(body);
    if (!info || !isPort(*info)) {
        return std::nullopt;
    }
    constexpr unsigned kUp = IFF_UP | IFF_LOWER_UP;
    Link link{};
    link.index = info->ifi_index;
    link.name = nameOf(after(body, NLMSG_ALIGN(sizeof(ifinfomsg))));
    link.gone = type == RTM_DELLINK;
    link.up = !link.gone && (info->ifi_flags & kUp) == kUp;
    return link;
}

void take(const nlmsghdr& header, std::string_view body, Datagram& datagram) {
    datagram.inconsistent |= (header.nlmsg_flags & NLM_F_DUMP_INTR) != 0;
    if (header.nlmsg_type == NLMSG_DONE) {
        datagram.listEnded = true;
    } else if (header.nlmsg_type == NLMSG_ERROR) {
        datagram.refused = true;
    } else if (header.nlmsg_type == RTM_NEWLINK || header.nlmsg_type == RTM_DELLINK) {
        if (auto link = linkOf(header.nlmsg_type, body)) {
            datagram.links.push_back(std::move(*link));
        }
    }
}

}  // namespace

Datagram decode(std::string_view bytes) {
    Datagram datagram;
    while (const auto header = front<nlmsghdr>(bytes)) {
        if (header->nlmsg_len < sizeof(nlmsghdr) || header->nlmsg_len > bytes.size()) {
            break;
        }
        take(*header, bytes.substr(NLMSG_HDRLEN, header->nlmsg_len - NLMSG_HDRLEN), datagram);
        bytes = after(bytes, NLMSG_ALIGN(header->nlmsg_len));
    }
    return datagram;
}

}  // namespace link_messages
