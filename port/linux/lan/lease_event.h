// What the LAN's DHCP server tells of a lease, as the daemon takes it.
#pragma once

#include <string>
#include <vector>

// The payloads for an action of the server's ("add", "old", "del"), in the order in which they are to be sent; none for
// an action that changes no lease.
std::vector<std::string> lanLeasePayloads(const std::string& action, const std::string& mac, const std::string& ip);
