// DHCP classless static routes (option 121, RFC 3442), kept as Routing.Router.1.IPv4Forwarding instances.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

// The option's bytes: code, length of the data, data. `size` counts the bytes that were really decoded.
struct Option121 {
    std::array<uint8_t, 2 + 255> bytes{};
    size_t size = 0;
};

// Reads the option's hexadecimal text two digits at a time, up to the first pair that is none. A lone last digit is
// dropped. An empty text gives code 0 and length 0.
Option121 parseOption121Routes(std::string_view text);

// Makes the routes of `option` those of the interface. With `add`, the ones of an earlier lease are deleted first.
// Default routes (width 0) are skipped. A descriptor that is not one ends the walk; the routes before it are kept.
void tarnWanDhcpcOption121Apply(std::string_view interfacePath, const Option121& option, bool add);

struct StaticRoute {
    std::string destination;
    std::string mask;
    std::string gateway;
    std::string interfacePath;
};

// Adds or updates one route entry, or deletes it. 0, the failing data-model code, or -7 for a route to delete that is
// not there.
int tarnWanDhcpcSRouteConfig(const StaticRoute& route, bool add);
