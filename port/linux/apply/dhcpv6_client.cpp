#include "clients.h"
#include "hooks.h"
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

// The daemon knows its clients by their pid files, and this one's is known only here.
bool tellPidFile(const std::string& path, const std::string& pidFile) {
    const objIndex client = instance(numberIn(path, "DHCPv6.Client."));
    const std::string json = "{\"X_VORAN_PidFile\":\"" + pidFile + "\"}";
    return vcfgFeObjWrite(RDM_OID_DHCPV6_CLIENT, &client, json.c_str(), VCFG_FE_WRITE_NO_APPLY, nullptr) == VCFG_OK;
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
    const std::string pidFile = dhcpv6PidFile(now);
    if (change.now->text("X_VORAN_PidFile") != pidFile && !tellPidFile(change.path, pidFile)) {
        return false;
    }
    const Dhcpv6Wants wants{change.now->flag("RequestAddresses"), change.now->flag("RequestPrefixes"),
                            !change.now->text("RequestedOptions").empty()};
    return runDhcpv6(now, wants, change.now->flag("Renew"));
}
