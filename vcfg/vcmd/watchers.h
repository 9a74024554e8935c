// Who watches the model, and the lines that they get.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "client/bus_server.h"
#include "store/store.h"

namespace vcfg::vcmd {

struct Watchers {
    struct Watcher {
        bus::ConnectionId connection;
        uint8_t eid;
        uint32_t requestId;
        std::vector<std::string> patterns;  // none: everything
    };
    struct News {
        std::string path;
        std::string line;
    };

    std::vector<Watcher> all;
    std::vector<News> news;               // changes that are not told yet
    std::optional<uint8_t> refreshedFor;  // who has asked for the values that are being noted
};

// Takes one more; `patterns` are path patterns, one a line. VCFG_ERR_FULL.
int addWatcher(Watchers& watchers, bus::Server& server, bus::ConnectionId connection, const vcfg_msg_t& request,
               std::string_view patterns);
// Notes a change that `by` made, if anybody watches.
void noteChange(Watchers& watchers, const store::Change& change, const std::string& by);
// Tells what has been noted; a watcher that does not read is dropped.
void tellWatchers(Watchers& watchers, bus::Server& server);

}  // namespace vcfg::vcmd
