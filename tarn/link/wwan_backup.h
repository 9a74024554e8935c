// Mails about the cellular backup of the WAN.
#pragma once

#include <cstdint>

// Mails that the cellular backup is up or down when it lies on this IP interface. `ipIfPath` may be null.
void check3GWanStatus(const char* ipIfPath, uint8_t srcEid, uint32_t requestId);

// A WAN connection came up or was lost.
void wanConnctionReadyHandle(const char* ipIfPath, uint32_t srcEid, uint32_t requestId);
void wanConnctionLostHandle(const char* ipIfPath, uint32_t srcEid, uint32_t requestId);
