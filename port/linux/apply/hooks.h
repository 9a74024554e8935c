// What each object's write does to the system. False when the system refused it.
#pragma once

#include "values.h"

bool applyIpv4Address(const Change& change);
bool applyIpv4Forwarding(const Change& change);
bool applyDhcpv4Client(const Change& change);
// DNS.Client, its servers.
bool applyDns(const Change& change);
// Ethernet.Link, PTM.Link, ATM.Link.
bool applyLink(const Change& change);
bool applyIpInterface(const Change& change);
bool applyIpv6Address(const Change& change);
bool applyIpv6Prefix(const Change& change);
bool applyRouteInformation(const Change& change);
bool applyDhcpv6Client(const Change& change);
bool applyPppInterface(const Change& change);
// DHCPv4.Server, its pools, their static addresses and options.
bool applyDhcpServer(const Change& change);
// Any of the diagnostics.
bool applyDiagnostic(const Change& change);
// Bridging.Bridge, its ports, Bridging.Filter.
bool applyBridging(const Change& change);
bool applyTime(const Change& change);

// The default route through a DHCP lease's router, as the data model has it now. A route that cannot be followed at the
// moment is told, and is no failure of the write that it comes with.
void followLeasedRouter(const std::string& interfacePath);

// IPv6 on the IP interface that lies on a PPP link which has just come up.
bool startIpv6Over(const std::string& pppPath);

// Brings the routes over the interface back, which went with its last address.
void applyRoutesOver(const std::string& interfacePath);

// Ends the PPP link's session, and dials anew. False, with the reason on standard error, when it cannot.
bool resetPpp(const std::string& path);

// Lets the daemon look at the Internet LED again.
void tellLed();
