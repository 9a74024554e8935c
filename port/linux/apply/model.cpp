#include "model.h"

#include "stored.h"
#include "words.h"

namespace {

bool holdsLease(const Dhcpv4Client& client) {
    return client.DHCPStatus == "Bound" || client.DHCPStatus == "Renewing";
}

void append(std::vector<std::string>& servers, const std::string& server) {
    for (const std::string& known : servers) {
        if (known == server) {
            return;
        }
    }
    servers.push_back(server);
}

}  // namespace

int interfaceNumber(const std::string& path) {
    return numberIn(path, "IP.Interface.");
}

std::string deviceOf(const std::string& path) {
    const auto interface = stored<IpInterface>(instance(interfaceNumber(path)));
    if (!interface) {
        return {};
    }
    std::string device = interface->X_VORAN_IfName.c_str();
    if (const int link = numberIn(interface->LowerLayers.c_str(), "PPP.Interface."); device.empty() && link != 0) {
        const auto ppp = stored<PppInterface>(instance(link));
        device = ppp ? ppp->X_VORAN_IfName.c_str() : "";
    }
    return isDevice(device) ? device : std::string();
}

bool isUp(const std::string& interfacePath) {
    const auto interface = stored<IpInterface>(instance(interfaceNumber(interfacePath)));
    return interface && interface->Enable != 0 && interface->Status == "Up";
}

std::string leasedRouter(const std::string& interfacePath) {
    const int wanted = interfaceNumber(interfacePath);
    objIndex iid{};
    while (const auto client = next<Dhcpv4Client>(iid)) {
        const auto routers = listed(client->IPRouters);
        if (holdsLease(*client) && interfaceNumber(client->Interface.c_str()) == wanted && !routers.empty()) {
            return isAddress(routers[0]) ? routers[0] : std::string();
        }
    }
    return {};
}

std::string givenAddress(const std::string& interfacePath) {
    const int wanted = interfaceNumber(interfacePath);
    objIndex iid{};
    while (const auto client = next<Dhcpv4Client>(iid)) {
        if (holdsLease(*client) && interfaceNumber(client->Interface.c_str()) == wanted) {
            return client->IPAddress.c_str();
        }
    }
    const auto interface = stored<IpInterface>(instance(wanted));
    const objIndex link = instance(interface ? numberIn(interface->LowerLayers.c_str(), "PPP.Interface.") : 0);
    const auto ppp = stored<PppInterface>(link);
    const auto layer = stored<PppInterfaceIpcp>(link);
    return ppp && layer && ppp->ConnectionStatus == "Connected" ? layer->LocalIPAddress.c_str() : "";
}

std::vector<std::string> nameServers() {
    std::vector<std::string> servers;
    objIndex iid{};
    while (const auto client = next<Dhcpv4Client>(iid)) {
        for (const std::string& server : listed(client->DNSServers)) {
            if (holdsLease(*client) && isAddress(server)) {
                append(servers, server);
            }
        }
    }
    iid = {};
    while (const auto server = next<DnsClientServer>(iid)) {
        if (server->Enable != 0 && !server->DNSServer.empty()) {
            append(servers, server->DNSServer.c_str());
        }
    }
    return servers;
}
