#include "interface_reset.h"

#include "hooks.h"
#include "interface_clients.h"
#include "model.h"
#include "network.h"
#include "stored.h"
#include "use.h"
#include "words.h"

namespace {

bool isOn(const objIndex& address, const std::string& interfacePath) {
    return address.idx[0] == interfaceNumber(interfacePath);
}

// The interface's own addresses that are in use, as the ip command takes them.
std::vector<std::string> ownIpv4(const std::string& path) {
    std::vector<std::string> found;
    objIndex iid{};
    while (const auto address = next<IpInterfaceIpv4Address>(iid)) {
        if (isOn(iid, path) && address->Enable != 0 && address->Status == "Enabled" &&
            address->AddressingType == "Static") {
            const auto width = maskWidth(address->SubnetMask.c_str());
            found.push_back(std::string(address->IPAddress.c_str()) + "/" + std::to_string(width.value_or(32)));
        }
    }
    return found;
}

std::vector<std::string> ownIpv6(const std::string& path) {
    std::vector<std::string> found;
    objIndex iid{};
    while (const auto address = next<IpInterfaceIpv6Address>(iid)) {
        if (isOn(iid, path) && address->Enable != 0 && address->Status == "Enabled" && address->Origin == "Static") {
            found.push_back(std::string(address->IPAddress.c_str()) + "/128");
        }
    }
    return found;
}

bool setAnew(const std::vector<std::string>& addresses, const char* family, const std::string& device) {
    bool done = true;
    for (const std::string& address : addresses) {
        ipQuietly({family, "addr", "del", address, "dev", device});
    }
    for (const std::string& address : addresses) {
        done = ip({family, "addr", "replace", address, "dev", device}) && done;
    }
    return done;
}

bool restartClients(const std::string& path, const std::string& device, bool ipv6) {
    if (ipv6) {
        stopIpv6(device);
    }
    const bool done = restartIpv4(path, device);
    return (!ipv6 || startIpv6(path, device, false)) && done;
}

}  // namespace

bool resetInterface(const std::string& path, const std::string& device) {
    const auto interface = stored<IpInterface>(instance(interfaceNumber(path)));
    if (!interface || device.empty() || !isUp(path)) {
        return complain(path, "is not up: there is no connection to begin anew");
    }
    const std::string lower = interface->LowerLayers.c_str();
    if (lower.starts_with("PPP.Interface.")) {
        return resetPpp(lower);
    }
    const bool own = setAnew(ownIpv4(path), "-4", device) && setAnew(ownIpv6(path), "-6", device);
    const bool wan = interface->X_VORAN_WAN != 0;
    const bool clients = !wan || restartClients(path, device, interface->IPv6Enable != 0);
    applyRoutesOver(path);
    return own && clients;
}
