// The Internet LED, and the mails about the cellular backup.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

// Recomputes the LED's state and drives the LED when it changed. One thread at a time does so; a call meanwhile makes
// that thread look once more. Returns the state: 0 no service, 1 an address, 2 only bridged, 3 being attempted.
int32_t wanInternetLEDUpdate();

// Whether the kernel has a default route, and by which device.
bool hasDefaultRoute(std::string& device);
bool hasIpv6DefaultRoute(std::string& device);

// Status of the PPP interface or VLAN termination that a LowerLayers text names; empty for anything else.
std::string lowerLayerStatus(std::string_view lowerLayers);

// Mails that the cellular backup on this IP interface is up or down. `ipIfPath` may be null.
void check3GWanStatus(const char* ipIfPath, uint8_t srcEid, uint32_t requestId);
void wanConnctionReadyHandle(const char* ipIfPath, uint32_t srcEid, uint32_t requestId);
void wanConnctionLostHandle(const char* ipIfPath, uint32_t srcEid, uint32_t requestId);
