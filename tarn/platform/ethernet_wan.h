// Switching Ethernet WAN ports.
#pragma once

#include <cstdint>

// Switches the Ethernet WAN activation. Port 0 is the Ethernet WAN as a whole, 1 the copper port, 2 the SFP port. The
// command's result.
int32_t tarnEthWanStatusChange(bool enable, int32_t port);

// Makes an Ethernet WAN port ready for use, at the first look at the links. `name` is not empty.
void activateEthWanPort(const char* name);
