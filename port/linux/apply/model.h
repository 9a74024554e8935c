// What the hooks look up in the data model beyond the instance that they are called for.
#pragma once

#include <string>
#include <vector>

// Linux device of "IP.Interface.<n>" (what follows the number does not matter); empty when there is none.
std::string deviceOf(const std::string& path);
// The number in "IP.Interface.<n>..."; 0 when the path is another.
int interfaceNumber(const std::string& path);
// Default router that the DHCP lease on the IP interface names; empty without one.
std::string leasedRouter(const std::string& interfacePath);
// The name servers in use: those of the DHCP leases, then those of the DNS client's table.
std::vector<std::string> nameServers();
