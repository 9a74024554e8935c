#include "mgmt/client_group.h"

#include <string>

#include "core/log.h"
#include "core/path.h"
#include "core/record.h"

namespace {

struct Names {
    std::string_view ifname;
    std::string_view phyif;
    std::string_view group;
};

struct Move {
    std::string from;
    std::string port;
    std::string to;

    bool isKnown() const { return !from.empty() && !port.empty() && !to.empty(); }
};

// A port serves as one of the three only, and the first of a name wins.
void take(Move& move, const Record<BridgePort>& port, const Names& names) {
    const std::string bridge = path::of(path::kBridge, port.iid().idx[0]);
    if (move.from.empty() && port->X_VORAN_IfName == names.ifname) {
        move.from = bridge;
    } else if (move.port.empty() && port->X_VORAN_IfName == names.phyif) {
        move.port = path::of(bridge + ".Port.", port.instance());
    } else if (move.to.empty() && port->X_VORAN_IfName == names.group) {
        move.to = bridge;
    }
}

Move findMove(const Names& names) {
    Move move;
    for (const auto& port : instances<BridgePort>()) {
        take(move, port, names);
        if (move.isKnown()) {
            break;
        }
    }
    return move;
}

std::string text(std::string_view name) {
    return std::string(name);
}

}  // namespace

int moveToGroup(std::string_view ifname, std::string_view phyif, std::string_view group, const char* caller) {
    const Move move = findMove({ifname, phyif, group});
    if (!move.isKnown()) {
        logs::system(LOG_ERR, "%s : no bridge ports %s, %s and %s\n", caller, text(ifname).c_str(), text(phyif).c_str(),
                     text(group).c_str());
        return VCFG_OK;
    }
    auto filter = findInstance<BridgeFilter>([&](const BridgeFilter& candidate) {
        return candidate.Interface == move.port && candidate.Bridge == move.from;
    });
    if (!filter) {
        return VCFG_OK;
    }
    filter->X_VORAN_PreviousBridge = move.from;
    filter->Bridge = move.to;
    const int code = filter.apply();
    if (code != VCFG_OK) {
        logs::system(LOG_ERR, "%s : Set BridgeFilter fail, ret = %d\n", caller, code);
    }
    return code;
}
