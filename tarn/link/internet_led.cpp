#include "link/internet_led.h"

#include <cstdio>
#include <mutex>

#include "core/fair_lock.h"
#include "core/log.h"
#include "core/record.h"
#include "core/shell.h"
#include "core/wan_state.h"
#include "platform/wrapper.h"

namespace {

constexpr int32_t kNoService = 0;
constexpr int32_t kHasAddress = 1;
constexpr int32_t kOnlyBridged = 2;
constexpr int32_t kBeingAttempted = 3;

constexpr const char* kUpdateName = "wanInternetLEDUpdate";
constexpr size_t kRouteLineSize = 250;

// What the walk over the IP interfaces has found.
struct Findings {
    int upV4 = 0;
    int upV6 = 0;
    bool bridged = false;
    bool hasAddress = false;
};

bool pppCarries(const IpInterface& interface) {
    const auto instance = path::instance(path::kPppInterface, interface.LowerLayers);
    if (!instance) {
        return false;
    }
    const auto ppp = get<PppInterface>(instanceId({*instance}));
    if (!ppp || !ppp->Enable || !(ppp->X_VORAN_IfName == interface.X_VORAN_IfName.view())) {
        return false;
    }
    return ppp->Status == "Up" || ppp->Status == "LowerLayerDown" || ppp->ConnectionStatus == "Connected" ||
           ppp->ConnectionStatus == "Connecting";
}

bool isUp(const IpInterface& interface) {
    return interface.Status == "Up" ||
           (interface.Status == "LowerLayerDown" && lowerLayerStatus(interface.LowerLayers) == "Up") ||
           pppCarries(interface);
}

template <class Address>
bool isUsable(const Address& address) {
    return address.Status == "Enabled" && address.Enable && !address.IPAddress.empty() &&
           !(address.IPAddress == "0.0.0.0");
}

void lookAtIpv4(const Record<IpInterface>& interface, bool up, Findings& found) {
    found.upV4 += up ? 1 : 0;
    const bool mayHoldAddress = interface->Status == "Up" || interface->Status == "LowerLayerDown";
    const auto usable = [](const IpInterfaceIpv4Address& address) { return isUsable(address); };
    if (mayHoldAddress && findChild<IpInterfaceIpv4Address>(interface.iid(), usable)) {
        found.hasAddress = true;
    }
}

void lookAtIpv6(const Record<IpInterface>& interface, const std::string& interfacePath, bool up, Findings& found) {
    found.upV6 += up ? 1 : 0;
    if (found.hasAddress && interface->IPv4Enable) {
        return;
    }
    const auto usable = [&interfacePath](const IpInterfaceIpv6Address& address) {
        logs::print("%s: %s ipv6 %s status %s\n", kUpdateName, interfacePath.c_str(), address.IPAddress.c_str(),
                    address.Status.c_str());
        return isUsable(address);
    };
    if (findChild<IpInterfaceIpv6Address>(interface.iid(), usable)) {
        found.hasAddress = true;
    }
}

void lookAt(const Record<IpInterface>& interface, std::string_view ipv6DefaultInterfaces, Findings& found) {
    if (!interface->Enable) {
        return;
    }
    const std::string interfacePath = path::of(path::kIpInterface, interface.instance());
    const bool ipv4 = interface->IPv4Enable && interface->X_VORAN_WAN;
    // As a whole path: "IP.Interface.1" is not in the list for the sake of "IP.Interface.12".
    const bool ipv6 = interface->IPv6Enable && path::occursIn(ipv6DefaultInterfaces, interfacePath);
    const bool up = (ipv4 || ipv6) && isUp(*interface);
    if (ipv4) {
        lookAtIpv4(interface, up, found);
    }
    if (ipv6) {
        lookAtIpv6(interface, interfacePath, up, found);
    }
    if (interface->Status == "Up" && interface->X_VORAN_ConnectionType == "IP_Bridged") {
        found.bridged = true;
    }
}

Findings lookAtInterfaces() {
    const auto router = getStored<RoutingRouter>(instanceId({1}));
    const std::string_view ipv6DefaultInterfaces =
        router ? router->X_VORAN_IPv6DefaultInterfaces.view() : std::string_view();
    Findings found{};
    for (const auto& interface : instances<IpInterface>()) {
        if (!interface->X_VORAN_IfName.startsWith("br")) {
            lookAt(interface, ipv6DefaultInterfaces, found);
        }
    }
    return found;
}

int32_t decide(const Findings& found) {
    if (wan.wanLinkDown && wan.wirelessWanLinkDown) {
        return kNoService;
    }
    if (found.hasAddress) {
        return kHasAddress;
    }
    if (found.upV4 > 0 || found.upV6 > 0) {
        return kBeingAttempted;
    }
    return found.bridged ? kOnlyBridged : kNoService;
}

// Off first, so that the colours change cleanly.
void drive(int32_t state) {
    tarnWanCtlInternetLED(1, 0);
    if (state == kHasAddress) {
        tarnWanCtlInternetLED(1, 1);
    } else if (state == kBeingAttempted) {
        tarnWanCtlInternetLED(1, 2);
    }
}

// Of two updates at once, the one that has looked first could be shown last.
FairLock updating;

}  // namespace

int32_t wanInternetLEDUpdate() {
    const std::lock_guard turn(updating);
    std::string device;
    hasDefaultRoute(device);
    hasIpv6DefaultRoute(device);
    const int32_t state = decide(lookAtInterfaces());
    wan.wanInternetUp = state == kHasAddress;
    if (wan.lastInternetLedState != state) {
        drive(state);
        wan.lastInternetLedState = state;
    }
    return state;
}

bool hasDefaultRoute(std::string& device) {
    const auto line = shellFirstLine("ip route | grep 'default'", kRouteLineSize);
    char via[kRouteLineSize + 1];
    char dev[kRouteLineSize + 1];
    if (!line || sscanf(line->c_str(), "default via %250s dev %250s", via, dev) != 2) {
        return false;
    }
    device = dev;
    return true;
}

bool hasIpv6DefaultRoute(std::string& device) {
    const auto line = shellFirstLine("ip -6 route | grep 'default'", kRouteLineSize);
    char via[kRouteLineSize + 1];
    char dev[kRouteLineSize + 1];
    char more[kRouteLineSize + 1];
    if (!line || sscanf(line->c_str(), "default via %250s dev %250s %250s", via, dev, more) != 3) {
        return false;
    }
    device = dev;
    return true;
}

// Only a lower-case "ppp" leads to the PPP interface. The standard "PPP.Interface.1" therefore gives no text, and such
// an interface is judged by its PPP connection instead.
std::string lowerLayerStatus(std::string_view lowerLayers) {
    if (lowerLayers.find("ppp") != std::string_view::npos) {
        const auto instance = path::instance(path::kPppInterface, lowerLayers);
        const auto ppp = instance ? get<PppInterface>(instanceId({*instance})) : Record<PppInterface>();
        return ppp ? std::string(ppp->Status.view()) : "";
    }
    if (lowerLayers.find("VLANTermination") != std::string_view::npos) {
        const auto instance = path::instance(path::kVlanTermination, lowerLayers);
        const auto vlan =
            instance ? get<EthernetVlanTermination>(instanceId({*instance})) : Record<EthernetVlanTermination>();
        return vlan ? std::string(vlan->Status.view()) : "";
    }
    return "";
}
