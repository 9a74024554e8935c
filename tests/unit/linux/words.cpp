#include "unit/words.h"

namespace words {
namespace {

Commands each(const Commands& ports, const std::string& state) {
    Commands commands;
    for (const std::string& port : ports) {
        commands.push_back("ip link set dev " + port + " " + state);
    }
    return commands;
}

}  // namespace

Commands enable(const Commands& ports) {
    return each(ports, "up");
}
Commands disable(const Commands& ports) {
    return each(ports, "down");
}
Commands activate(const std::string& port) {
    return each({port}, "up");
}

// There is no DSL modem.
Commands openDsl() {
    return {};
}
Commands closeDsl() {
    return {};
}
Commands endPtm() {
    return {};
}
Commands removePtmRule(const std::string&, int) {
    return {};
}
Commands restartQuarterHours() {
    return {};
}

Commands startScripts() {
    return {};
}
Commands startUpnp(bool) {
    return {};
}
Commands endHunt(const std::string& name) {
    return {"killall -q " + name + " 2>/dev/null"};
}

// LEDs are files.
Commands ledOff() {
    return {};
}
Commands ledGreen() {
    return {};
}
Commands ledRed() {
    return {};
}

void giveLeds(Gateway& gw) {
    for (const char* name : {"green:internet", "red:internet"}) {
        gw.file(std::string("/sys/class/leds/") + name + "/brightness", "0");
    }
}
bool showsRed(const Gateway& gw) {
    return gw.fileContent("/sys/class/leds/green:internet/brightness") == "0" &&
           gw.fileContent("/sys/class/leds/red:internet/brightness") == "255";
}

bool namesDslDevices() {
    return false;
}

}  // namespace words
