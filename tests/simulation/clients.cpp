// The DHCP clients and PPP daemons of the simulated gateway.
#include <csignal>

#include "core/wan_state.h"
#include "inproc_fe.h"
#include "link/wan_link_table.h"
#include "peers.h"

namespace sim {
namespace {

constexpr uint8_t kDhcpClientEid = 20;
constexpr uint8_t kPppdEid = 21;
constexpr uint8_t kDhcp6Eid = 22;
constexpr pid_t kFirstProcess = 300;

std::string text(const char* name, int number) {
    return name + std::to_string(number);
}
std::string pidFile(int client) {
    return text("/run/dhcpc-", client) + ".pid";
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

const Connection& connectionOfDhcp(int client) {
    return kConnections[client == 2 ? 0 : 1];
}
const Connection& connectionOfPpp(int ppp) {
    return kConnections[ppp == 2 ? 2 : 3];
}

bool reachesServer(int client) {
    return world().cable[client == 2 ? 4 : 6];
}

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

Letter pppLetter(int ppp, bool up, bool ipv6) {
    const std::string link = R"({"linkname":"wan)" + std::to_string(ppp) + R"(","state":")" + (up ? "up" : "down");
    const std::string ends = R"(","ip":"192.0.2.)" + std::to_string(100 + ppp) + R"(","remote":"192.0.2.1"})";
    Letter letter{VCFG_MSG_PPPD, kPppdEid};
    letter.payload = ipv6 ? link + R"(","type":"ipv6","local":"::1","remote":"::2"})" : link + ends;
    letter.mayWrite = {text("PPP.Interface.", ppp), text("IP.Interface.", connectionOfPpp(ppp).ip),
                       "Routing.RouteInformation.InterfaceSetting.", "DHCPv6.Client."};
    letter.watch = [=] {
        return [=] {
            const std::string address = text("IP.Interface.", connectionOfPpp(ppp).ip) +
                                        (ipv6 ? ".IPv6Address.1.Status" : ".IPv4Address.1.Status");
            if (!up && !world().faulty && inproc::get(address) == "Enabled") {
                broken("AnEndedLayerHasNoAddress", address);
            }
        };
    };
    return letter;
}

Letter dhcp6Letter(bool timeout) {
    Letter letter{VCFG_MSG_DHCP6C, kDhcp6Eid};
    letter.payload = timeout ? R"({"pidfile":"/run/dhcp6c.pid","timeout":true})"
                             : R"({"pidfile":"/run/dhcp6c.pid","addrAssigned":true,"addr":"2001:db8::7",)"
                               R"("prefixAssigned":true,"prefix":"2001:db8:1::/56","nameserver":"2001:db8::53"})";
    letter.mayWrite = {text("IP.Interface.", kDualStackIp), "DNS"};
    return letter;
}

void startClient(int client) {
    DhcpClient& own = world().clients[client];
    own.running = true;
    world().files[pidFile(client)] = std::to_string(kFirstProcess + client) + "\n";
    world().clientOf[kFirstProcess + client] = client;
    later(200 + world().chance.below(4000), [client] {
        DhcpClient& now = world().clients[client];
        if (now.running && reachesServer(client)) {
            now.address = 10 + static_cast<int>(world().chance.below(200));
            now.routes = static_cast<int>(world().chance.below(4));
            post(leaseLetter(client, Lease::Bound));
            if (connectionOfDhcp(client).ip == kDualStackIp) {
                post(dhcp6Letter(false));
            }
        }
    });
}

void stopClient(int client) {
    DhcpClient& own = world().clients[client];
    own.running = false;
    world().files.erase(pidFile(client));
    world().clientOf.erase(kFirstProcess + client);
    post(releaseLetter(client));
    if (connectionOfDhcp(client).ip == kDualStackIp) {
        post(dhcp6Letter(true));
    }
}

// SIGUSR1: a new lease. SIGUSR2: the lease is given back.
void clientSignalled(pid_t process, int signal) {
    const int client = world().clientOf[process];
    if (signal == SIGUSR1) {
        startClient(client);
    } else if (signal == SIGUSR2) {
        later(100, [client] { post(releaseLetter(client)); });
    }
}

// Without a line there is nobody at its other end.
void dial(int ppp) {
    later(500 + world().chance.below(3000), [ppp] {
        const World& w = world();
        if (w.dialled.at(ppp) && (ppp == 2 ? w.lineUp && !w.lineAtm : w.stick)) {
            post(pppLetter(ppp, true, false));
            if (ppp == 2) {
                post(pppLetter(ppp, true, true));
            }
        }
    });
    world().dialled[ppp] = true;
}

void hangUp(int ppp) {
    world().dialled[ppp] = false;
    post(pppLetter(ppp, false, false));
    if (ppp == 2) {
        post(pppLetter(ppp, false, true));
    }
}

}  // namespace sim
