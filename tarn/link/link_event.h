// One walk over the WAN link table: what it was started with and what it has met so far.
#pragma once

#include <cstdint>
#include <string>

#include "link/wan_link_table.h"

struct LinkEvent {
    const char* payload = nullptr;  // the kernel's text
    std::string interface;          // whose link changed; empty when the event names no Ethernet interface
    bool up = false;
    bool checkVlanHunt = false;

    int32_t ethernetSeen = 0;
    int32_t ethernetUp = 0;
    bool ethernetWentDown = false;
    // Ethernet links that came up less those that went down in this walk only: a link that has been up since an earlier
    // event does not count, so a DSL line that goes down then takes the LED down until the next connection event.
    int32_t ethWanLinkUpCount = 0;
};

// Whether the walk goes on with the next link, or the event is over.
enum class Then { NextLink, End };

Then updateEthernetLink(WanLinkInfo& link, LinkEvent& event);
Then updateDslLine(WanLinkInfo& link, LinkEvent& event);

// The function name that the platform's tools look for in the lines of a walk.
inline constexpr const char* kWalkName = "updateWanLinkStatus";

// Asks the daemon itself to set up its links anew, which lets the Ethernet WAN come back. 0 or -1.
int32_t WANAutoDetectEthStart();

// Writes the line's mode and rates into the system log. Mode 0 ATM, 1 PTM.
void logDSLStreamRate(const char* dslLinePath, int32_t mode);

// Takes out the VLAN rules of the PTM devices, as many as IP interfaces lie on them.
void removePtmVlanRules();
