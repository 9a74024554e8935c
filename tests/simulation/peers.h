// Who lives around the daemon: the clients of the WAN's connections, and the owners that start and stop them.
#pragma once

#include "world.h"

namespace sim {

// What lies on each layer that the daemon writes: an IP interface, and who brings it up.
struct Connection {
    const char* layer;
    int ip;
    int dhcp;  // DHCPv4.Client, 0 none
    int ppp;   // PPP.Interface, 0 none
};
inline constexpr Connection kConnections[] = {
    {"Ethernet.Link.1", 1, 2, 0},
    {"Ethernet.Link.2", 4, 3, 0},  // IPv6, too
    {"PTM.Link.1", 2, 0, 2},
    {"PPP.Interface.3", 3, 0, 3},  // on the stick
};
const Connection& connectionOfDhcp(int client);
const Connection& connectionOfPpp(int ppp);
inline constexpr int kDualStackIp = 4;

// --- the letters of the clients ---
enum class Lease { Bound, Renewed, Option };
Letter leaseLetter(int client, Lease kind);
Letter releaseLetter(int client);
Letter pppLetter(int ppp, bool up, bool ipv6);
Letter dhcp6Letter(bool timeout);
// A message of the daemon to itself.
Letter ownLetter(const vcfg_msg_t& message);

std::string pidFile(int client);
bool reachesServer(int client);
void startClient(int client);
void stopClient(int client);
void dial(int ppp);
void hangUp(int ppp);

// The routes that a lease's option 121 stands for, as "10.7.0.0".
std::string option121(int routes);
std::vector<std::string> routesOf(int ip);

}  // namespace sim
