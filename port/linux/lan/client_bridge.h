// Groups of LAN clients: a filter with a vendor class, and no port of its own, names the bridge of the clients that
// announce it.
#pragma once

#include <string>

// Device of that bridge; empty when the vendor class belongs to no group.
std::string bridgeForVendor(const std::string& vendor);
