#include "lease_event.h"

#include "client_bridge.h"
#include "client_identity.h"
#include "client_port.h"
#include "environment.h"
#include "payload.h"

namespace {

std::string leaseOf(const std::string& action, const std::string& mac, const std::string& ip) {
    const Identity identity = identityFor(action, mac);
    Payload payload;
    payload.text("ac", action == "old" ? "up" : action);
    payload.textIfAny("ifname", variable("DNSMASQ_INTERFACE"));
    payload.text("mac", mac);
    payload.text("ip", ip);
    payload.textIfAny("moui", identity.oui);
    payload.textIfAny("serial", identity.serial);
    payload.textIfAny("pclass", identity.productClass);
    payload.textIfAny("vendor", variable("DNSMASQ_VENDOR_CLASS"));
    return payload.str();
}

// The bridge that the client's vendor class belongs to, when it is on another one.
std::vector<std::string> grouping(const std::string& mac) {
    const std::string bridge = variable("DNSMASQ_INTERFACE");
    const std::string group = bridgeForVendor(variable("DNSMASQ_VENDOR_CLASS"));
    const std::string port = portOfClient(bridge, mac);
    if (group.empty() || group == bridge || port.empty()) {
        return {};
    }
    Payload payload;
    payload.text("ac", "crit");
    payload.text("ifname", bridge);
    payload.text("phyif", port);
    payload.text("tag", "group_" + group);
    payload.text("mac", mac);
    return {payload.str()};
}

}  // namespace

std::vector<std::string> lanLeasePayloads(const std::string& action, const std::string& mac, const std::string& ip) {
    if (action != "add" && action != "old" && action != "del") {
        return {};
    }
    std::vector<std::string> payloads{leaseOf(action, mac, ip)};
    if (action != "del") {
        for (const std::string& moved : grouping(mac)) {
            payloads.push_back(moved);
        }
    }
    return payloads;
}
