#include "hooks.h"
#include "model.h"
#include "network.h"
#include "process.h"
#include "stored.h"
#include "use.h"
#include "words.h"

namespace {

using Words = std::vector<std::string>;

constexpr const char* kOrigin = "Origin";

// The route in the words of the ip command; empty for one that is not enabled, or leads nowhere.
Words enabledRoute(const std::optional<Values>& values) {
    if (!isEnabled(values)) {
        return {};
    }
    const std::string destination = values->text("DestIPAddress");
    const auto width = maskWidth(values->text("DestSubnetMask"));
    const std::string gateway = values->text("GatewayIPAddress");
    const std::string device = deviceOf(values->text("Interface"));
    if ((gateway.empty() && device.empty()) || (!destination.empty() && !isAddress(destination))) {
        return {};
    }
    Words words{destination.empty() ? "default" : destination + "/" + std::to_string(width.value_or(32))};
    if (isAddress(gateway)) {
        words.insert(words.end(), {"via", gateway});
    }
    if (!device.empty()) {
        words.insert(words.end(), {"dev", device});
    }
    if (values->number("ForwardingMetric") >= 0) {
        words.insert(words.end(), {"metric", std::to_string(values->number("ForwardingMetric"))});
    }
    return words;
}

Words with(const char* verb, const Words& route) {
    Words words{"route", verb};
    words.insert(words.end(), route.begin(), route.end());
    return words;
}

}  // namespace

bool applyIpv4Forwarding(const Change& change) {
    const bool used = isUsed(change, kOrigin, statusOf<RoutingIpv4Forwarding>(change.path));
    const Words before = enabledRoute(change.before);
    const Words now = used ? enabledRoute(change.now) : Words();
    if (!before.empty() && before != now) {
        ipQuietly(with("del", before));
    }
    if (used && now.empty() && isOwn(*change.now, kOrigin)) {
        return refuse(change, "Error_Misconfigured", "is enabled and leads nowhere");
    }
    return tellUse(change, kOrigin, used, now.empty() || ip(with("replace", now)));
}

void applyRoutesOver(const std::string& interfacePath) {
    const int wanted = interfaceNumber(interfacePath);
    objIndex iid{};
    while (const auto route = next<RoutingIpv4Forwarding>(iid)) {
        if (route->Enable != 0 && route->Status == "Enabled" && interfaceNumber(route->Interface.c_str()) == wanted) {
            run({"vcfgctl", "set",
                 "Routing.Router." + std::to_string(iid.idx[0]) + ".IPv4Forwarding." + std::to_string(iid.idx[1]) +
                     ".Enable=true"});
        }
    }
}
