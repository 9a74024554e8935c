// The files of the LAN's DHCP server, as the data model wants them.
#pragma once

#include <string>

// The pools; empty without any that can be served.
std::string dhcpServerConfiguration();
// The addresses that are a client's own, or nobody's.
std::string dhcpServerHosts();
// What each pool hands out.
std::string dhcpServerOptions();
