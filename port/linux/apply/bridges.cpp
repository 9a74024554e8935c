// The kernel's bridges follow the data model's.
#include <unistd.h>

#include <algorithm>
#include <climits>

#include "bridge_model.h"
#include "hooks.h"
#include "network.h"
#include "words.h"

namespace {

std::string systemPath(const std::string& device, const char* what) {
    return "/sys/class/net/" + device + "/" + what;
}

bool exists(const std::string& path) {
    return access(path.c_str(), F_OK) == 0;
}

bool isBridge(const std::string& device) {
    return isDevice(device) && exists(systemPath(device, "bridge"));
}

// The bridge that the device is a port of now; empty for none.
std::string masterOf(const std::string& device) {
    char target[PATH_MAX] = {};
    const ssize_t size = readlink(systemPath(device, "brport/bridge").c_str(), target, sizeof target - 1);
    const std::string text(target, size > 0 ? static_cast<size_t>(size) : 0);
    return text.substr(text.rfind('/') + 1);
}

bool make(const std::string& bridge) {
    return (isBridge(bridge) || ip({"link", "add", bridge, "type", "bridge"})) && ip({"link", "set", bridge, "up"});
}

// A port that is not there is not the bridge's fault.
bool join(const std::string& device, const std::string& bridge) {
    return !exists(systemPath(device, "")) || masterOf(device) == bridge ||
           ip({"link", "set", device, "master", bridge});
}

bool isWanted(const std::string& device, const std::map<int, std::string>& bridges) {
    return std::any_of(bridges.begin(), bridges.end(), [&](const auto& bridge) { return bridge.second == device; });
}

// What has lost its place in the data model.
void forget(const std::string& device, const std::map<int, std::string>& bridges) {
    if (isBridge(device) && !isWanted(device, bridges)) {
        ipQuietly({"link", "del", device});
    } else if (isDevice(device) && !masterOf(device).empty() && !wantedMembers().contains(device)) {
        ipQuietly({"link", "set", device, "nomaster"});
    }
}

}  // namespace

bool applyBridging(const Change& change) {
    const auto bridges = wantedBridges();
    bool done = true;
    for (const auto& [number, bridge] : bridges) {
        done = make(bridge) && done;
    }
    for (const auto& [device, number] : wantedMembers()) {
        const auto bridge = bridges.find(number);
        done = (bridge == bridges.end() || join(device, bridge->second)) && done;
    }
    for (const char* name : {"X_VORAN_IfName", "Name"}) {
        forget(change.before ? change.before->text(name) : std::string(), bridges);
    }
    return done;
}
