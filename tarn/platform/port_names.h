// What the platform calls its ports, and what it says of them.
#pragma once

#include <cstdint>
#include <string_view>

namespace port {

// Whether an event's text is about a DSL device; about an Ethernet port.
bool namesDsl(std::string_view event);
bool namesEthernet(std::string_view event);
// Whether an interface's name is a DSL device's, and so never an Ethernet interface's.
bool isDslDevice(std::string_view interface);

// Whether a bridge port's device and the port of an event are the same port.
bool same(std::string_view bridgePort, std::string_view name);

// Mbit/s of an event's speed field.
int32_t bitRate(std::string_view speed);

}  // namespace port
