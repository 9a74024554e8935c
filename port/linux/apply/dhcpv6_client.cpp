#include "clients.h"
#include "hooks.h"
#include "interface_clients.h"
#include "model.h"
#include "stored.h"
#include "use.h"

namespace {

bool isUpWithIpv6(const std::string& interfacePath) {
    const auto interface = stored<IpInterface>(instance(interfaceNumber(interfacePath)));
    return interface && interface->Enable != 0 && interface->Status == "Up" && interface->IPv6Enable != 0;
}

bool runs(const std::optional<Values>& values) {
    return values && values->flag("Enable") && values->text("Status") == "Enabled" &&
           isUpWithIpv6(values->text("Interface"));
}

}  // namespace

bool applyDhcpv6Client(const Change& change) {
    const std::string before = change.before ? deviceOf(change.before->text("Interface")) : std::string();
    const std::string now = runs(change.now) ? deviceOf(change.now->text("Interface")) : std::string();
    if (!before.empty() && before != now) {
        releaseDhcpv6(before);
    }
    if (now.empty()) {
        return !change.now || !change.now->flag("Renew") || complain(change.path, "does not run: nothing is renewed");
    }
    const objIndex client = instance(numberIn(change.path, "DHCPv6.Client."));
    if (!tellDhcpv6PidFile(client, change.now->text("X_VORAN_PidFile"), now)) {
        return false;
    }
    const Dhcpv6Wants wants{change.now->flag("RequestAddresses"), change.now->flag("RequestPrefixes"),
                            !change.now->text("RequestedOptions").empty()};
    return runDhcpv6(now, wants, change.now->flag("Renew"));
}
