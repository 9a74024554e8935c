#include "hooks.h"
#include "model.h"
#include "network.h"
#include "words.h"

namespace {

using Words = std::vector<std::string>;

// The route in the words of the ip command; empty while it is not in use, or when it leads nowhere.
Words usedRoute(const std::optional<Values>& values) {
    if (!values || !values->flag("Enable") || values->text("Status") == "Disabled") {
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
    const Words before = usedRoute(change.before);
    const Words now = usedRoute(change.now);
    if (!before.empty() && before != now) {
        ipQuietly(with("del", before));
    }
    return now.empty() || ip(with("replace", now));
}
