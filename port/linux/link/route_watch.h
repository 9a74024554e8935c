// The namespace's default routes as rtnetlink reports them.
#pragma once

#include <compare>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace route_watch {

// What the kernel tells routes apart by.
struct Route {
    int family = 0;
    uint32_t device = 0;  // its index
    uint32_t metric = 0;

    auto operator<=>(const Route&) const = default;  // NOLINT(modernize-use-nullptr): taken for a zero
};

struct Change {
    Route route;
    std::string gateway;   // empty for none
    bool isThere = false;  // set, or deleted
    bool isListed = false;
    uint32_t socket = 0;  // of who did it; 0 for the kernel itself
};

// Decodes one rtnetlink datagram; what does not decode, and all other routes, are left out.
std::vector<Change> decode(std::string_view datagram);

// A socket that hears of every change, and of the routes there are at first; -1 with errno set.
int open();

// One datagram, without waiting. False when changes were lost, or the socket cannot be read.
bool read(int fd, std::vector<Change>& changes);

}  // namespace route_watch
