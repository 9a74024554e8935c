// What each object's write does to the system. False when the system refused it.
#pragma once

#include "values.h"

bool applyIpv4Address(const Change& change);
bool applyIpv4Forwarding(const Change& change);
bool applyDhcpv4Client(const Change& change);
bool applyDnsServer(const Change& change);
// Ethernet.Link, PTM.Link, ATM.Link.
bool applyLink(const Change& change);

// The default route through a DHCP lease's router, as the data model has it now.
bool followLeasedRouter(const std::string& interfacePath);
// Lets the daemon look at the Internet LED again.
void tellLed();
