// The DHCP clients and PPP daemons of the simulated gateway.
#include <csignal>

#include "inproc_fe.h"
#include "peers.h"

namespace sim {
namespace {

constexpr uint8_t kPppdEid = 21;
constexpr uint8_t kDhcp6Eid = 22;
constexpr pid_t kFirstProcess = 300;

std::string text(const char* name, int number) {
    return name + std::to_string(number);
}
}  // namespace

std::string pidFile(int client) {
    return text("/run/dhcpc-", client) + ".pid";
}

const Connection& connectionOfDhcp(int client) {
    return kConnections[client == 2 ? 0 : 1];
}
const Connection& connectionOfPpp(int ppp) {
    return kConnections[ppp == 2 ? 2 : 3];
}

bool reachesServer(int client) {
    return world().cable[client == 2 ? 4 : 6];
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
