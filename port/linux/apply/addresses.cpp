#include "hooks.h"
#include "model.h"
#include "network.h"
#include "words.h"

namespace {

// "192.0.2.7/24" while the address is in use; empty otherwise.
std::string usedAddress(const std::optional<Values>& values) {
    if (!values || !values->flag("Enable") || values->text("Status") != "Enabled") {
        return {};
    }
    const std::string address = values->text("IPAddress");
    const auto width = maskWidth(values->text("SubnetMask"));
    return isAddress(address) ? address + "/" + std::to_string(width.value_or(32)) : std::string();
}

}  // namespace

bool applyIpv4Address(const Change& change) {
    const std::string device = deviceOf(change.path);
    if (device.empty()) {
        return true;
    }
    const std::string before = usedAddress(change.before);
    const std::string now = usedAddress(change.now);
    if (!before.empty() && before != now) {
        ipQuietly({"addr", "del", before, "dev", device});
    }
    const bool set = now.empty() || ip({"addr", "replace", now, "dev", device});
    if (set) {
        followLeasedRouter(change.path);  // the last address takes the routes of its device with it
    }
    if (before != now) {
        tellLed();
    }
    return set;
}
