// The commands in which a platform says what the rules want of it, letter for letter; unit/<platform>/words.cpp.
#pragma once

#include <string>
#include <vector>

#include "support/kit.h"

namespace words {

using Commands = std::vector<std::string>;

// Of these Ethernet WAN ports.
Commands enable(const Commands& ports);
Commands disable(const Commands& ports);
Commands activate(const std::string& port);

Commands openDsl();
Commands closeDsl();
Commands endPtm();
Commands removePtmRule(const std::string& device, int rule);
Commands restartQuarterHours();

Commands startScripts();
Commands startUpnp(bool natTraversal);
Commands endHunt(const std::string& name);

Commands ledOff();
Commands ledGreen();
Commands ledRed();
// Puts the LEDs there; whether the red one is lit.
void giveLeds(Gateway& gw);
bool showsRed(const Gateway& gw);

// Whether it tells its DSL devices from its Ethernet ports by their names.
bool namesDslDevices();

inline Commands join(const std::vector<Commands>& parts) {
    Commands all;
    for (const Commands& part : parts) {
        all.insert(all.end(), part.begin(), part.end());
    }
    return all;
}

}  // namespace words
