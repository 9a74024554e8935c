// LAN clients that belong to a group: their port is in the group's bridge.
#pragma once

#include <string_view>

// Moves the LAN port `phyif` from the bridge of `ifname` to the bridge of `group` (Linux names all three). Returns 0,
// also when nothing has to move, or the code of the refused write; what went wrong is logged in the name of `caller`.
int moveToGroup(std::string_view ifname, std::string_view phyif, std::string_view group, const char* caller);
