#include "hooks.h"
#include "model.h"
#include "network.h"
#include "stored.h"
#include "use.h"
#include "words.h"

namespace {

constexpr const char* kOrigin = "AddressingType";

// "192.0.2.7/24" of an address that is enabled; empty for another one, and for one that is none.
std::string enabledAddress(const std::optional<Values>& values) {
    const std::string address = isEnabled(values) ? values->text("IPAddress") : std::string();
    const auto width = values ? maskWidth(values->text("SubnetMask")) : std::nullopt;
    return isAddress(address) ? address + "/" + std::to_string(width.value_or(32)) : std::string();
}

std::string usedBefore(const std::optional<Values>& values) {
    return values && values->text("Status") == "Enabled" ? enabledAddress(values) : std::string();
}

// One that the network gave, and that somebody had disabled meanwhile.
bool isGivenAgain(const Change& change) {
    return isSwitchedOn(change) && isAddress(change.now->text("IPAddress")) &&
           givenAddress(change.path) == change.now->text("IPAddress");
}

void takeAway(const std::string& before, const std::string& now, const std::string& device) {
    if (!before.empty() && before != now && !device.empty()) {
        ipQuietly({"addr", "del", before, "dev", device});
    }
}

bool put(const Change& change, const std::string& device, const std::string& now) {
    const bool done = now.empty() || ip({"addr", "replace", now, "dev", device});
    followLeasedRouter(change.path);  // the last address takes the routes of its device with it
    if (isSwitchedOn(change)) {
        applyRoutesOver(change.path);
    }
    return done;
}

}  // namespace

bool applyIpv4Address(const Change& change) {
    const std::string device = deviceOf(change.path);
    const bool used = isUsed(change, kOrigin, statusOf<IpInterfaceIpv4Address>(change.path)) || isGivenAgain(change);
    const std::string now = used ? enabledAddress(change.now) : std::string();
    takeAway(enabledAddress(change.before), now, device);
    if (used && isOwn(*change.now, kOrigin) && now.empty()) {
        return refuse(change, "Error_Misconfigured", "is enabled and has no address");
    }
    if (used && isOwn(*change.now, kOrigin) && device.empty()) {
        return refuse(change, "Error", "lies on an interface without a device");
    }
    if (!used && isSwitchedOn(change)) {
        return refuse(change, "Disabled", "is for the network to give, and it has given none");
    }
    if (device.empty()) {
        return true;
    }
    const bool done = put(change, device, now);
    if (usedBefore(change.before) != now) {
        tellLed();
    }
    return tellUse(change, kOrigin, used, done);
}
