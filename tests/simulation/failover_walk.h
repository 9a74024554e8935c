// One walk over the links of the fail-over table, and the words in which its rules say what is done.
#pragma once

#include <algorithm>

#include "failover_table.h"

namespace failover {

struct Walk {
    Setting setting;
    State state;
    Deeds& deeds;
    Link link = kCopper;
    int cameUp = 0;  // Ethernet ports that came up less those that went down, in this walk
    bool ethernetWentDown = false;
    bool ended = false;

    void end() { ended = true; }
    void countUp() {
        cameUp += 1;
        state.sfpUp = link == kSfp;
    }
    void countDown() {
        cameUp = std::max(cameUp - 1, 0);
        ethernetWentDown = true;
        state.sfpUp = false;
    }
    void linkUp() { state.acted[link] = true; }
    void linkDown() { state.acted[link] = false; }
    void wanUp() { state.wanDown = false; }
    void carry(Carrier carrier) { state.carrier = carrier; }
    Carrier lineCarrier() const { return state.mode == Mode::Atm ? Carrier::Atm : Carrier::Ptm; }
    void askAgain() { state.asked = std::min(state.asked + 1, 2); }

    void led();
    void ethernetWan(const char* how) { deeds.push_back(std::string("/userfs/bin/ethphxcmd eth0 wanactive ") + how); }
    void closeDsl() { deeds.emplace_back("/usr/bin/wan adsl close"); }
    void openDsl();
    void noHunter();
    void loadDriver();
    void endPtm();
    void restartStatistics();
    void tellLayers();
};

}  // namespace failover
