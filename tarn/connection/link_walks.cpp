#include "connection/link_walks.h"

#include <map>
#include <mutex>
#include <utility>

namespace walks {
namespace {

struct Link {
    int walks = 0;
    std::optional<LinkChange> waiting;
    std::map<std::string, LinkChange> newestOnLayer;
};

std::mutex guard;  // held only to look at what follows
uint32_t changes = 0;
std::map<std::string, Link, std::less<>> links;  // by path

// Of a change that has begun; needs no memory.
Link& linkOf(const LinkChange& change) {
    return links.find(change.path.view())->second;
}

bool isNewer(const LinkChange& change, const LinkChange& other) {
    return static_cast<int32_t>(change.number - other.number) > 0;
}

}  // namespace

bool begin(LinkChange& change) {
    const std::lock_guard lock(guard);
    Link& link = links.try_emplace(std::string(change.path.view())).first->second;
    change.number = ++changes;
    if (link.walks == kWalksOfALink) {
        link.waiting = change;
        return false;
    }
    ++link.walks;
    return true;
}

std::optional<LinkChange> end(const LinkChange& change) {
    const std::lock_guard lock(guard);
    Link& link = linkOf(change);
    link.walks -= link.waiting ? 0 : 1;
    return std::exchange(link.waiting, std::nullopt);
}

void abandon(const LinkChange& change) {
    const std::lock_guard lock(guard);
    --linkOf(change).walks;
}

LinkChange comeTo(const std::string& layer, const LinkChange& change) {
    const std::lock_guard lock(guard);
    const auto [place, isFirst] = linkOf(change).newestOnLayer.try_emplace(layer, change);
    if (!isFirst && isNewer(change, place->second)) {
        place->second = change;
    }
    return place->second;
}

}  // namespace walks
