#include "bridge_model.h"

#include "stored.h"
#include "words.h"

namespace {

std::string deviceOf(const BridgePort& port) {
    std::string device = port.X_VORAN_IfName.c_str();
    if (device.empty()) {
        const auto lower =
            stored<EthernetInterface>(instance(numberIn(port.LowerLayers.c_str(), "Ethernet.Interface.")));
        device = lower ? lower->Name.c_str() : "";
    }
    return isDevice(device) ? device : std::string();
}

// The bridge that a filter takes a whole port to, by the port's path.
std::map<std::string, int> filtered() {
    std::map<std::string, int> found;
    objIndex iid{};
    while (const auto filter = next<BridgeFilter>(iid)) {
        const int bridge = numberIn(filter->Bridge.c_str(), "Bridging.Bridge.");
        if (filter->Enable != 0 && bridge != 0 && filter->SourceMACFromVendorClassIDFilter.empty()) {
            found.emplace(filter->Interface.c_str(), bridge);  // the first one counts
        }
    }
    return found;
}

std::string pathOf(const objIndex& port) {
    return "Bridging.Bridge." + std::to_string(port.idx[0]) + ".Port." + std::to_string(port.idx[1]);
}

}  // namespace

std::map<int, std::string> wantedBridges() {
    std::map<int, std::string> found;
    objIndex iid{};
    while (const auto bridge = next<Bridge>(iid)) {
        if (bridge->Enable != 0 && isDevice(bridge->Name.c_str())) {
            found[iid.idx[0]] = bridge->Name.c_str();
        }
    }
    iid = {};
    while (const auto port = next<BridgePort>(iid)) {
        const auto bridge = stored<Bridge>(instance(iid.idx[0]));
        if (port->ManagementPort != 0 && bridge && bridge->Enable != 0 && !deviceOf(*port).empty()) {
            found[iid.idx[0]] = deviceOf(*port);
        }
    }
    return found;
}

std::map<std::string, int> wantedMembers() {
    const auto moved = filtered();
    std::map<std::string, int> found;
    objIndex iid{};
    while (const auto port = next<BridgePort>(iid)) {
        const std::string device = deviceOf(*port);
        if (port->Enable != 0 && port->ManagementPort == 0 && !device.empty()) {
            const auto filter = moved.find(pathOf(iid));
            found.emplace(device, filter == moved.end() ? iid.idx[0] : filter->second);
        }
    }
    return found;
}
