#include "interface_clients.h"

#include <unistd.h>

#include <csignal>

#include "clients.h"
#include "process.h"
#include "stored.h"

namespace {

// The interface's instances of a client table, one after the other.
template <class Client, class Action>
bool forClients(const std::string& interfacePath, Action action) {
    bool done = true;
    objIndex iid{};
    while (const auto client = next<Client>(iid)) {
        if (client->Enable != 0 && client->Interface == interfacePath) {
            done = action(iid, *client) && done;
        }
    }
    return done;
}

Dhcpv6Wants wantsOf(const Dhcpv6Client& client) {
    return {client.RequestAddresses != 0, client.RequestPrefixes != 0, !client.RequestedOptions.empty()};
}

// A PPP link has a device only while it is connected.
bool exists(const std::string& device) {
    return access(("/sys/class/net/" + device).c_str(), F_OK) == 0;
}

}  // namespace

bool startIpv4(const std::string& path, const std::string& device) {
    return forClients<Dhcpv4Client>(path, [&device](const objIndex&, const Dhcpv4Client& client) {
        return startOrRenewDhcpv4(client.X_VORAN_PidFile.c_str(), device);
    });
}

void releaseIpv4(const std::string& path) {
    forClients<Dhcpv4Client>(path, [](const objIndex&, const Dhcpv4Client& client) {
        signalProcess(client.X_VORAN_PidFile.c_str(), SIGUSR2);
        return true;
    });
}

bool restartIpv4(const std::string& path, const std::string& device) {
    return forClients<Dhcpv4Client>(path, [&device](const objIndex&, const Dhcpv4Client& client) {
        releaseDhcpv4(client.X_VORAN_PidFile.c_str());
        return startOrRenewDhcpv4(client.X_VORAN_PidFile.c_str(), device);
    });
}

bool tellDhcpv6PidFile(const objIndex& client, std::string_view told, const std::string& device) {
    const std::string pidFile = dhcpv6PidFile(device);
    const std::string json = "{\"X_VORAN_PidFile\":\"" + pidFile + "\"}";
    return told == pidFile ||
           vcfgFeObjWrite(RDM_OID_DHCPV6_CLIENT, &client, json.c_str(), VCFG_FE_WRITE_NO_APPLY, nullptr) == VCFG_OK;
}

bool startIpv6(const std::string& path, const std::string& device, bool renew) {
    if (!exists(device)) {
        return true;
    }
    const auto start = [&device, renew](const objIndex& iid, const Dhcpv6Client& client) {
        return client.Status != "Enabled" || (tellDhcpv6PidFile(iid, client.X_VORAN_PidFile.c_str(), device) &&
                                              runDhcpv6(device, wantsOf(client), renew));
    };
    return acceptAdvertisements(device) && forClients<Dhcpv6Client>(path, start);
}

void stopIpv6(const std::string& device) {
    releaseDhcpv6(device);
    if (exists(device)) {
        refuseAdvertisements(device);
    }
}
