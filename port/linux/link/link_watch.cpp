#include "link_watch.h"

#include <linux/if.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <optional>

#include "rtnetlink.h"

namespace link_watch {
namespace {

// The first name counts.
std::string nameOf(std::string_view body) {
    std::optional<std::string> name;
    rtnetlink::forEachAttribute(body, sizeof(ifinfomsg), [&name](uint16_t type, std::string_view value) {
        if (type == IFLA_IFNAME && !name) {
            name = value.substr(0, value.find('\0'));
        }
    });
    return name.value_or("");
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
    Change change{.name = nameOf(body)};
    change.up = header.nlmsg_type == RTM_NEWLINK && (info.ifi_flags & IFF_LOWER_UP) != 0;
    if (change.name.empty()) {
        return std::nullopt;
    }
    return change;
}

enum class Listing { complete, inconsistent, failed };

Listing readListing(int fd, std::vector<Change>& links) {
    links.clear();
    bool inconsistent = false;
    for (;;) {
        std::string_view datagram;
        if (!rtnetlink::receive(fd, 0, datagram)) {
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
    rtnetlink::forEachMessage(datagram, [&report](const nlmsghdr& header, std::string_view body) {
        report.refused |= header.nlmsg_type == NLMSG_ERROR;
        report.inconsistent |= (header.nlmsg_flags & NLM_F_DUMP_INTR) != 0;
        if (header.nlmsg_type == NLMSG_DONE) {
            report.listingEnded = true;
        } else if (header.nlmsg_type == RTM_NEWLINK || header.nlmsg_type == RTM_DELLINK) {
            auto change = linkOf(header, body);
            if (change) {
                report.changes.push_back(std::move(*change));
            }
        }
    });
    return report;
}

int open() {
    return rtnetlink::open(RTMGRP_LINK);
}

Reading read(int fd, std::vector<Change>& changes) {
    std::string_view datagram;
    if (!rtnetlink::receive(fd, MSG_DONTWAIT, datagram)) {
        if (errno == EAGAIN || errno == EINTR) {
            return Reading::nothing;
        }
        if (errno != ENOBUFS) {
            return Reading::failed;
        }
        // What waits here is older than what was lost.
        while (rtnetlink::receive(fd, MSG_DONTWAIT, datagram) || errno == ENOBUFS || errno == EINTR) {
        }
        return Reading::overrun;
    }
    changes = decode(datagram).changes;
    return Reading::changes;
}

bool list(std::vector<Change>& links) {
    const int fd = rtnetlink::open(0);
    if (fd < 0) {
        return false;
    }
    Listing result = Listing::inconsistent;
    while (result == Listing::inconsistent) {
        result = rtnetlink::requestAll<ifinfomsg>(fd, RTM_GETLINK) ? readListing(fd, links) : Listing::failed;
    }
    const int reason = errno;
    close(fd);
    errno = reason;
    return result == Listing::complete;
}

}  // namespace link_watch
