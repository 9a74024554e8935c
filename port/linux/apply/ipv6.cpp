#include "clients.h"
#include "hooks.h"
#include "model.h"
#include "network.h"
#include "stored.h"
#include "use.h"
#include "words.h"

#include <arpa/inet.h>

namespace {

constexpr const char* kOrigin = "Origin";

// "2001:db8::7/128" of an address that is enabled; empty for another one, and for one that is none.
std::string enabledAddress(const std::optional<Values>& values) {
    const std::string address = isEnabled(values) ? values->text("IPAddress") : std::string();
    return isIpv6Address(address) ? address + "/128" : std::string();
}

// A leased address is on the device already, with its lifetimes.
bool put(const Change& change, const std::string& address, const std::string& device) {
    if (isOwn(*change.now, kOrigin)) {
        return ip({"-6", "addr", "replace", address, "dev", device});
    }
    ipQuietly({"-6", "addr", "add", address, "dev", device});
    return true;
}

// One that the network gave, and that somebody had disabled meanwhile: who leased it knows how long it lasts.
bool askForLeaseAgain(const Change& change, const std::string& device) {
    return renewDhcpv6(device) || refuse(change, "Disabled", "is for the network to give, and nobody asks it");
}

// The delegated prefix while it is in use; empty otherwise.
std::string usedPrefix(const std::optional<Values>& values) {
    const bool used = values && values->flag("Enable") && values->text("Status") == "Enabled" &&
                      values->text("Origin") == "PrefixDelegation";
    const std::string prefix = used ? values->text("Prefix") : std::string();
    return isIpv6Address(prefix.substr(0, prefix.find('/'))) ? prefix : std::string();
}

// The gateway's own address in the first /64 of a prefix.
std::string ownAddress(const std::string& prefix) {
    in6_addr address{};
    inet_pton(AF_INET6, prefix.substr(0, prefix.find('/')).c_str(), &address);
    address.s6_addr[15] |= 1;
    char text[INET6_ADDRSTRLEN];
    return std::string(inet_ntop(AF_INET6, &address, text, sizeof text)) + "/64";
}

std::string lanDevice() {
    objIndex iid{};
    while (const auto interface = next<IpInterface>(iid)) {
        if (interface->X_VORAN_WAN == 0 && isDevice(interface->X_VORAN_IfName.c_str())) {
            return interface->X_VORAN_IfName.c_str();
        }
    }
    return {};
}

bool mayCarryDefaultRoute(const std::string& interfacePath) {
    const auto router = stored<RoutingRouter>(instance(1));
    for (const std::string& path : listed(router ? router->X_VORAN_IPv6DefaultInterfaces.c_str() : "")) {
        if (path == interfacePath) {
            return true;
        }
    }
    return false;
}

// The default route through the router that the interface has chosen; empty when it has none.
std::vector<std::string> defaultRoute(const std::optional<Values>& values) {
    constexpr const char* kAfterTheKernels = "2048";
    const std::string path = values ? values->text("Interface") : std::string();
    const std::string router = values ? values->text("SourceRouter") : std::string();
    const std::string device = path.empty() ? path : deviceOf(path);
    if (device.empty() || !isIpv6Address(router)) {
        return {};
    }
    return {"default", "via", router, "dev", device, "metric", kAfterTheKernels, "proto", "ra"};
}

std::vector<std::string> route(const char* verb, std::vector<std::string> words) {
    words.insert(words.begin(), {"-6", "route", verb});
    return words;
}

}  // namespace

bool applyIpv6Address(const Change& change) {
    const std::string device = deviceOf(change.path);
    const bool used = isUsed(change, kOrigin, statusOf<IpInterfaceIpv6Address>(change.path));
    const std::string before = enabledAddress(change.before);
    const std::string now = used ? enabledAddress(change.now) : std::string();
    if (!before.empty() && before != now && !device.empty()) {
        ipQuietly({"-6", "addr", "del", before, "dev", device});
    }
    if (used && isOwn(*change.now, kOrigin) && now.empty()) {
        return refuse(change, "Error_Misconfigured", "is enabled and has no address");
    }
    if (used && isOwn(*change.now, kOrigin) && device.empty()) {
        return refuse(change, "Error", "lies on an interface without a device");
    }
    if (!used && isSwitchedOn(change)) {
        return askForLeaseAgain(change, device);
    }
    return device.empty() || tellUse(change, kOrigin, used, now.empty() || put(change, now, device));
}

// The first network of a delegated prefix is the LAN's; nothing of the rest leaves the gateway.
bool applyIpv6Prefix(const Change& change) {
    const std::string before = usedPrefix(change.before);
    const std::string now = usedPrefix(change.now);
    const std::string lan = lanDevice();
    if (before == now || lan.empty()) {
        return true;
    }
    if (!before.empty()) {
        ipQuietly({"-6", "addr", "del", ownAddress(before), "dev", lan});
        ipQuietly({"-6", "route", "del", "unreachable", before});
    }
    return now.empty() || (ip({"-6", "route", "replace", "unreachable", now}) &&
                           ip({"-6", "addr", "replace", ownAddress(now), "dev", lan}));
}

// The daemon takes the default routes away when a router is chosen. The kernel learns its own again with the next
// advertisement; until then, and for no longer than the router promises, this one stands in.
bool applyRouteInformation(const Change& change) {
    const auto before = defaultRoute(change.before);
    auto now = defaultRoute(change.now);
    if (!before.empty() && before != now) {
        ipQuietly(route("del", before));
    }
    if (now.empty() || !mayCarryDefaultRoute(change.now->text("Interface"))) {
        return true;
    }
    now.insert(now.end(), {"expires", change.now->text("X_VORAN_RouterLifetime")});
    return ip(route("replace", now));
}
