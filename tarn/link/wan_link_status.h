// What happens when a WAN link comes up or goes down.
#pragma once

#include <cstdint>

// Compares every entry of the WAN link table with its data-model object and acts on the differences. `payload` is the
// kernel's event text, or null. With `checkVlanHunt`, an Ethernet change first looks whether VLAN auto-hunt is enabled.
// One thread at a time walks the table; the others wait for their turn (link/link_turn.h).
void updateWanLinkStatus(const char* payload, bool checkVlanHunt);
