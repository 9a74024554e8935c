// The pools of the LAN's DHCP server that can be served.
#pragma once

#include <string>
#include <vector>

#include "stored.h"

struct ServedPool {
    objIndex iid;
    Stored<Dhcpv4ServerPool> record;
    std::string device;
    std::string tag;  // what the server knows the pool's clients by
};

// The enabled ones that have a range and a device.
std::vector<ServedPool> servedPools();
