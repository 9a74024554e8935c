// What the hooks look up in the data model beyond the instance that they are called for.
#pragma once

#include <string>
#include <vector>

// Linux device of "IP.Interface.<n>" (what follows the number does not matter); empty when there is none.
std::string deviceOf(const std::string& path);
// The number in "IP.Interface.<n>..."; 0 when the path is another.
int interfaceNumber(const std::string& path);
// Whether the IP interface is enabled and up.
bool isUp(const std::string& interfacePath);
// Default router that the DHCP lease on the IP interface names; empty without one.
std::string leasedRouter(const std::string& interfacePath);
// The address that the network gives the IP interface now, by DHCP or over PPP; empty for none.
std::string givenAddress(const std::string& interfacePath);
// The name servers in use: those of the DHCP leases, then those of the DNS client's table.
std::vector<std::string> nameServers();
