#include "model.h"

#include <vcfg/vcfg.h>

#include <charconv>
#include <cstdlib>
#include <memory>
#include <string_view>

#include "network.h"

namespace {

constexpr std::string_view kInterfaceTable = "IP.Interface.";

struct Free {
    void operator()(void* memory) const { free(memory); }
};

// The stored instance after `iid`; null at the end.
template <class Object>
std::unique_ptr<Object, Free> next(objIndex& iid) {
    void* record = nullptr;
    const int result = vcfgFeObjStructGetNextWithoutUpdate(vcfg::ObjectId<Object>::value, &iid, &record);
    return std::unique_ptr<Object, Free>(result == VCFG_OK ? static_cast<Object*>(record) : nullptr);
}

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
    int number = 0;
    if (std::string_view(path).starts_with(kInterfaceTable)) {
        std::from_chars(path.data() + kInterfaceTable.size(), path.data() + path.size(), number);
    }
    return number >= 1 && number <= 255 ? number : 0;
}

std::string deviceOf(const std::string& path) {
    objIndex iid{};
    iid.level = 1;
    iid.idx[0] = static_cast<uint8_t>(interfaceNumber(path));
    void* record = nullptr;
    if (iid.idx[0] == 0 || vcfgFeObjStructGetWithoutUpdate(RDM_OID_IP_IFACE, &iid, &record) != VCFG_OK) {
        return {};
    }
    const std::unique_ptr<IpInterface, Free> interface(static_cast<IpInterface*>(record));
    const std::string device = interface->X_VORAN_IfName.c_str();
    return isDevice(device) ? device : std::string();
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
