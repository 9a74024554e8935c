#include "hooks.h"
#include "interface_clients.h"
#include "interface_reset.h"
#include "model.h"
#include "stored.h"

namespace {

struct State {
    bool up = false;
    bool ipv6 = false;
};

State stateOf(const std::optional<Values>& values) {
    const bool up = values && values->flag("Enable") && values->text("Status") == "Up";
    return {up, up && values->flag("IPv6Enable")};
}

}  // namespace

bool startIpv6Over(const std::string& pppPath) {
    objIndex iid{};
    while (const auto interface = next<IpInterface>(iid)) {
        const bool wanted = interface->Enable != 0 && interface->Status == "Up" && interface->IPv6Enable != 0;
        if (wanted && interface->LowerLayers == pppPath) {
            const std::string path = "IP.Interface." + std::to_string(iid.idx[0]);
            return startIpv6(path, deviceOf(path), false);
        }
    }
    return true;
}

// An interface that comes up starts its clients, one that goes down releases what they hold. To write an interface that
// is up as it is asks its clients to renew.
bool applyIpInterface(const Change& change) {
    const State before = stateOf(change.before);
    const State now = stateOf(change.now);
    const std::optional<Values>& values = change.now ? change.now : change.before;
    const std::string device = deviceOf(change.path);
    if (change.now && change.now->flag("Reset") && before.up == now.up) {
        return resetInterface(change.path, device);
    }
    if (device.empty() || !values || !values->flag("X_VORAN_WAN")) {
        return true;
    }
    const bool again = change.now && change.before && change.now->agreesWith(*change.before);
    bool done = true;
    if (now.up && (!before.up || again)) {
        done = startIpv4(change.path, device);
    } else if (!now.up && before.up) {
        releaseIpv4(change.path);
    }
    if (now.ipv6 && (!before.ipv6 || again)) {
        done = startIpv6(change.path, device, again) && done;
    } else if (!now.ipv6 && before.ipv6) {
        stopIpv6(device);
    }
    return done;
}
