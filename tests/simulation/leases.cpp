// What a DHCP client says of its lease, and what has to come of it.
#include "inproc_fe.h"
#include "peers.h"

namespace sim {
namespace {

constexpr uint8_t kDhcpClientEid = 20;

std::string text(const char* name, int number) {
    return name + std::to_string(number);
}

Letter dhcpLetter(int client, uint32_t type, const std::string& rest) {
    Letter letter{type, kDhcpClientEid};
    letter.payload = R"({"pidfile":")" + pidFile(client) + "\"" + rest + "}";
    letter.mayWrite = {text("DHCPv4.Client.", client), text("IP.Interface.", connectionOfDhcp(client).ip),
                       "Routing.Router.1.IPv4Forwarding.", "RouterAdvertisement.InterfaceSetting.1"};
    return letter;
}

std::string addressText(int address) {
    return text("192.0.2.", address);
}

std::vector<std::string> wantedRoutes(int routes) {
    return routes == 0 ? std::vector<std::string>() : std::vector<std::string>{text("10.", routes) + ".0.0"};
}

struct LeaseBefore {
    std::string address;
    std::string option;
    std::string status;
    std::vector<std::string> routes;
};

// What a lease that came through without a fault leaves behind.
void checkLease(int client, Lease kind, const DhcpClient& lease, const LeaseBefore& before) {
    const int ip = connectionOfDhcp(client).ip;
    const std::string interface = text("IP.Interface.", ip);
    if (world().faulty || before.status != inproc::get(interface + ".Status")) {
        return;
    }
    const bool renewed = kind == Lease::Renewed;
    const bool taken = before.status == "Up" && !(renewed && before.address == addressText(lease.address));
    const bool changed =
        renewed ? before.option != option121(lease.routes) : lease.routes == 0 && !before.option.empty();
    if (routesOf(ip) != (taken && changed ? wantedRoutes(lease.routes) : before.routes)) {
        broken("TheRoutesAreThoseOfTheLease", interface);
    }
    const std::string address = interface + ".IPv4Address.1.";
    if (taken && !renewed &&
        (inproc::get(address + "IPAddress") != addressText(lease.address) ||
         inproc::get(address + "Status") != "Enabled")) {
        broken("AHeldLeaseHasItsAddress", address + "IPAddress");
    }
    if (taken && inproc::get(text("DHCPv4.Client.", client) + ".IPAddress") != addressText(lease.address)) {
        broken("AClientShowsItsLease", text("DHCPv4.Client.", client));
    }
}

std::function<void()> watchLease(int client, Lease kind, const DhcpClient& lease) {
    const int ip = connectionOfDhcp(client).ip;
    const std::string path = text("DHCPv4.Client.", client);
    const LeaseBefore before{inproc::get(path + ".IPAddress"), inproc::get(path + ".ReqOption.1.Value"),
                             inproc::get(text("IP.Interface.", ip) + ".Status"), routesOf(ip)};
    return [=] { checkLease(client, kind, lease, before); };
}

}  // namespace

// One route, 10.N.0.0/24 by 192.0.2.1.
std::string option121(int routes) {
    return routes == 0 ? "" : "7908180A0" + std::to_string(routes) + "00C0000201";
}

std::vector<std::string> routesOf(int ip) {
    std::vector<std::string> found;
    for (const std::string& route : inproc::instancesOf("Routing.Router.1.IPv4Forwarding")) {
        if (inproc::get(route + ".Interface") == text("IP.Interface.", ip) &&
            inproc::get(route + ".Origin") == "DHCP") {
            found.push_back(inproc::get(route + ".DestIPAddress"));
        }
    }
    return found;
}

Letter leaseLetter(int client, Lease kind) {
    constexpr uint32_t kTypes[] = {VCFG_MSG_DHCPC_BOUND, VCFG_MSG_DHCPC_RENEWED, VCFG_MSG_DHCPC_OPTION};
    const DhcpClient lease = world().clients[client];
    const std::string option = lease.routes != 0 ? R"(,"opt121":")" + option121(lease.routes) + "\"" : "";
    Letter letter =
        dhcpLetter(client, kTypes[static_cast<int>(kind)],
                   R"(,"addressAssigned":true,"ip":")" + addressText(lease.address) +
                       R"(","subnet":"255.255.255.0","router":"192.0.2.1","dns":"192.0.2.53 192.0.2.54")" + option);
    letter.watch = [=] { return watchLease(client, kind, lease); };
    return letter;
}

Letter releaseLetter(int client) {
    Letter letter = dhcpLetter(client, VCFG_MSG_DHCPC_OPTION, R"(,"addressAssigned":false)");
    letter.watch = [client] {
        return [address = text("IP.Interface.", connectionOfDhcp(client).ip) + ".IPv4Address.1.Status"] {
            if (!world().faulty && inproc::get(address) == "Enabled") {
                broken("AReleasedLeaseHasNoAddress", address);
            }
        };
    };
    return letter;
}

}  // namespace sim
