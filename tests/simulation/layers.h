// What lies on each link, and how the link is.
#pragma once

#include "core/wan_state.h"
#include "link/wan_link_table.h"
#include "world.h"

namespace sim {

struct Layer {
    const char* path;
    int32_t linkType;
    uint8_t instance;
    bool (*linkIsUp)(const World& w);
};
inline constexpr Layer kLayers[] = {
    {"Ethernet.Link.1", kLinkEthernet, 4, [](const World& w) { return w.cable[4]; }},
    {"Ethernet.Link.2", kLinkEthernet, 6, [](const World& w) { return w.cable[6]; }},
    {"Ethernet.Link.3", kLinkOptical, 2, [](const World& w) { return w.fibre; }},
    {"PTM.Link.1", kLinkDslLine, 1, [](const World& w) { return w.lineUp && !w.lineAtm; }},
    {"ATM.Link.1", kLinkDslLine, 1, [](const World& w) { return w.lineUp && w.lineAtm; }},
    {"PPP.Interface.3", kLinkUsb, 1, [](const World& w) { return w.stick; }},
};

bool isUp(const WanLinkInfo& link);

// --- ends that nobody sees ---
// The daemon tells the layers of a link's end when it has taken the link for up. Who sets the links up anew takes them
// all for down first; one that ends before it is looked at again leaves its layers as they were.

// A link is about to end.
void noteEnd(int32_t linkType, uint8_t instance);
// A line is about to be up: when its last end has not been seen yet, never will it be.
void noteLineUp();
// The links are about to be set up anew.
void noteSetUp();

}  // namespace sim
