#include "clients.h"
#include "hooks.h"
#include "model.h"
#include "process.h"
#include "stored.h"

#include <unistd.h>

#include <csignal>

namespace {

struct State {
    bool up = false;
    bool ipv6 = false;
};

State stateOf(const std::optional<Values>& values) {
    const bool up = values && values->flag("Enable") && values->text("Status") == "Up";
    return {up, up && values->flag("IPv6Enable")};
}

// The interface's instances of a client table, one after the other.
template <class Client, class Action>
bool forClients(const std::string& interfacePath, Action action) {
    bool done = true;
    objIndex iid{};
    while (const auto client = next<Client>(iid)) {
        if (client->Enable != 0 && client->Interface == interfacePath) {
            done = action(*client) && done;
        }
    }
    return done;
}

Dhcpv6Wants wantsOf(const Dhcpv6Client& client) {
    return {client.RequestAddresses != 0, client.RequestPrefixes != 0, !client.RequestedOptions.empty()};
}

// A client that released its lease when the interface went down asks for a new one now.
bool startIpv4(const std::string& path, const std::string& device) {
    return forClients<Dhcpv4Client>(path, [&device](const Dhcpv4Client& client) {
        return startOrRenewDhcpv4(client.X_VORAN_PidFile.c_str(), device);
    });
}

void releaseIpv4(const std::string& path) {
    forClients<Dhcpv4Client>(path, [](const Dhcpv4Client& client) {
        signalProcess(client.X_VORAN_PidFile.c_str(), SIGUSR2);
        return true;
    });
}

// A PPP link has a device only while it is connected.
bool exists(const std::string& device) {
    return access(("/sys/class/net/" + device).c_str(), F_OK) == 0;
}

bool startIpv6(const std::string& path, const std::string& device, bool renew) {
    if (!exists(device)) {
        return true;
    }
    return acceptAdvertisements(device) && forClients<Dhcpv6Client>(path, [&device, renew](const Dhcpv6Client& client) {
               return client.Status != "Enabled" || runDhcpv6(device, wantsOf(client), renew);
           });
}

void stopIpv6(const std::string& device) {
    releaseDhcpv6(device);
    if (exists(device)) {
        refuseAdvertisements(device);
    }
}

}  // namespace

bool startIpv6Over(const std::string& pppPath) {
    objIndex iid{};
    while (const auto interface = next<IpInterface>(iid)) {
        const bool wanted = interface->Enable != 0 && interface->Status == "Up" && interface->IPv6Enable != 0;
        if (wanted && interface->LowerLayers == pppPath) {
            const std::string path = "IP.Interface." + std::to_string(iid.idx[0]);
            return startIpv6(path, deviceOf(path), false);
        }
    }
    return true;
}

// An interface that comes up starts its clients, one that goes down releases what they hold. To write an interface that
// is up as it is asks its clients to renew.
bool applyIpInterface(const Change& change) {
    const State before = stateOf(change.before);
    const State now = stateOf(change.now);
    const std::optional<Values>& values = change.now ? change.now : change.before;
    const std::string device = deviceOf(change.path);
    if (device.empty() || !values || !values->flag("X_VORAN_WAN")) {
        return true;
    }
    const bool again = change.now && change.before && change.now->agreesWith(*change.before);
    bool done = true;
    if (now.up && (!before.up || again)) {
        done = startIpv4(change.path, device);
    } else if (!now.up && before.up) {
        releaseIpv4(change.path);
    }
    if (now.ipv6 && (!before.ipv6 || again)) {
        done = startIpv6(change.path, device, again) && done;
    } else if (!now.ipv6 && before.ipv6) {
        stopIpv6(device);
    }
    return done;
}
