// Router advertisements that arrive on WAN interfaces: the kernel's default route, what the router said, and the DHCPv6
// client that its flags ask for.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

struct RouterAdvertisementInfo {
    int32_t managedFlag;  // the raw bit: 128 when set
    int32_t otherFlag;    // the raw bit: 64 when set
    int32_t preference;   // the raw bits: 0 medium, 8 high, 24 low
    int32_t prefixLength;
    int32_t routerLifetime;
    std::string prefix;
    std::string router;
};

// One report. Returns 0; -5 when a PPP interface cannot be read; the code that ended the walk when no interface
// matches.
int processRaInfo(const char* payload);

// Removes the default route that the kernel learnt on a device whose interface is no default-gateway interface.
void tarnRaDefaultRouteCheck(std::string_view ipPath, std::string_view device);

// Records the router; whether the interface's DHCPv6 client must be reconfigured (1 or 0).
int tarnSetIpv6RouterInfo(std::string_view ipPath, const RouterAdvertisementInfo& info);

// The interface's DHCPv6 client as the flags of the advertisement ask for it.
void tarnSetDhcp6Client(std::string_view ipPath, bool managed, bool other);
