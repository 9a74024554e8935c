// LAN clients that keep the address that they were given once.
#pragma once

#include <string>
#include <string_view>

// Whether clients of that vendor class always get a static lease.
bool tarnDhcpdVendorMatch(std::string_view vendor);

// Whether every lease on the DHCP pool of the LAN interface with that Linux name is a static one.
bool tarnDhcpdPoolAutoStatic(std::string_view ifname);

// Sees to it that the interface's pool always gives `ip` to `mac`, in whatever letter case the pool knows it. 0; -5
// without such an interface or pool; or the code of the data model's refusal, which it has logged.
int tarnDhcpdStaticAddrSet(std::string_view ifname, std::string_view mac, std::string_view ip);
