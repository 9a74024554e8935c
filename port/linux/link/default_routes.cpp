#include "default_routes.h"

#include <net/if.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <string>

#include "notice.h"

namespace {

// A socket has the number of its process, unless that has several; the kernel's greatest process number is 2^22.
std::string doneBy(uint32_t socket) {
    constexpr uint32_t kMostProcesses = 1U << 22;
    if (socket == 0) {
        return "by the kernel itself";
    }
    return socket <= kMostProcesses ? "by process " + std::to_string(socket) : "by a process that is not known";
}

std::string textOf(const route_watch::Change& change) {
    return std::string(change.route.family == AF_INET6 ? "IPv6" : "IPv4") + " default route" +
           (change.gateway.empty() ? "" : " via " + change.gateway) + (change.isThere ? " was set " : " was deleted ") +
           doneBy(change.socket);
}

}  // namespace

DefaultRoutes::~DefaultRoutes() {
    if (fd_ >= 0) {
        close(fd_);
    }
}

// Another one that leads out of the same device.
bool DefaultRoutes::hasOther(const route_watch::Route& route) const {
    return std::any_of(routes_.begin(), routes_.end(), [&](const route_watch::Route& known) {
        return known.family == route.family && known.device == route.device && known != route;
    });
}

void DefaultRoutes::take(const route_watch::Change& change) {
    const bool isNews = change.isThere ? routes_.insert(change.route).second : routes_.erase(change.route) != 0;
    char device[IF_NAMESIZE];
    if (!isNews || change.isListed || hasOther(change.route) ||
        if_indextoname(change.route.device, device) == nullptr) {
        return;
    }
    change.isThere ? noticeRelief(device, textOf(change)) : noticeTrouble(device, textOf(change));
}

void DefaultRoutes::beginAnew() {
    close(fd_);
    routes_.clear();
    fd_ = route_watch::open();
}

void DefaultRoutes::look() {
    std::vector<route_watch::Change> changes;
    if (fd_ >= 0 && !route_watch::read(fd_, changes)) {
        beginAnew();
    }
    for (const route_watch::Change& change : changes) {
        take(change);
    }
}
