#include "clients.h"
#include "hooks.h"
#include "model.h"
#include "process.h"
#include "use.h"

namespace {

bool tell(const std::string& path, const std::string& value) {
    return run({"vcfgctl", "set", "--no-apply", path + "=" + value});
}

std::string pidFileOf(const Values& client, const std::string& device) {
    const std::string known = client.text("X_VORAN_PidFile");
    return known.empty() ? dhcpv4PidFile(device) : known;
}

// The daemon knows its clients by their pid files.
bool tellPidFile(const Change& change, const std::string& device) {
    return !change.now->text("X_VORAN_PidFile").empty() ||
           tell(change.path + ".X_VORAN_PidFile", dhcpv4PidFile(device));
}

bool start(const Change& change) {
    const std::string interface = change.now->text("Interface");
    const std::string device = deviceOf(interface);
    if (device.empty()) {
        return refuse(change, "Error_Misconfigured", "has no interface with a device");
    }
    if (!tellPidFile(change, device) || !tell(change.path + ".Status", "Enabled")) {
        return false;
    }
    // That of an interface which is not up is started when it comes up.
    return !isUp(interface) || startOrRenewDhcpv4(pidFileOf(*change.now, device), device);
}

bool stop(const Change& change) {
    const std::string device = deviceOf(change.before->text("Interface"));
    if (!device.empty()) {
        endDhcpv4(pidFileOf(*change.before, device), device);
    }
    return !change.now || tell(change.path + ".Status", "Disabled");
}

bool renew(const Change& change) {
    const std::string interface = change.now->text("Interface");
    const std::string device = deviceOf(interface);
    if (!isEnabled(change.now) || device.empty() || !isUp(interface)) {
        return complain(change.path,
                        "does not run, as it is not enabled or its interface is not up: nothing is renewed");
    }
    return startOrRenewDhcpv4(pidFileOf(*change.now, device), device);
}

bool follow(const Change& change) {
    if (isEnabled(change.before) && !isEnabled(change.now)) {
        return stop(change);
    }
    if (isSwitchedOn(change)) {
        return start(change);
    }
    return !change.now || !change.now->flag("Renew") || renew(change);
}

}  // namespace

bool applyDhcpv4Client(const Change& change) {
    const std::optional<Values>& values = change.now ? change.now : change.before;
    if (values) {
        followLeasedRouter(values->text("Interface"));
    }
    const bool done = follow(change);
    return applyDns(change) && done;
}
