// A datagram of rtnetlink, as the link monitor reads it: of links, and of routes.
#include "link_watch.h"
#include "route_watch.h"
#include "target.h"

namespace {

size_t lengths = 0;

}  // namespace

void handleInput(std::string_view bytes) {
    for (const link_watch::Change& change : link_watch::decode(bytes).changes) {
        lengths += change.name.size();
    }
    for (const route_watch::Change& change : route_watch::decode(bytes)) {
        lengths += change.gateway.size() + change.route.device;
    }
}
