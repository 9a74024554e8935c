// The Internet LED: whether the WAN gives Internet service.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

// Recomputes the LED's state and drives the LED when it changed. One thread at a time does so, in the order of the
// calls. Returns the state: 0 no service, 1 an address, 2 only bridged, 3 being attempted.
int32_t wanInternetLEDUpdate();

// Whether the kernel has a default route, and by which device.
bool hasDefaultRoute(std::string& device);
bool hasIpv6DefaultRoute(std::string& device);

// Status of the PPP interface or VLAN termination that a LowerLayers text names; empty for anything else.
std::string lowerLayerStatus(std::string_view lowerLayers);
