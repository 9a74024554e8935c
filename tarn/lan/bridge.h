// Questions about the LAN's bridges.
#pragma once

#include <cstdint>
#include <string_view>

// 1 when the bridge on top of that lower layer ("Ethernet.Interface.2") carries a bridged IP interface; 0 when it
// carries a routed one, or none.
uint32_t isLowerLayerBridged(std::string_view lowerLayer);
