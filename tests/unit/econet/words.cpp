#include "unit/words.h"

#include <algorithm>

namespace words {

// The chip has one activation for all ports.
Commands enable(const Commands&) {
    return {"/userfs/bin/ethphxcmd eth0 wanactive enable"};
}
Commands disable(const Commands&) {
    return {"/userfs/bin/ethphxcmd eth0 wanactive disable"};
}
Commands activate(const std::string&) {
    return join({disable({}), enable({})});
}

Commands openDsl() {
    return {"/usr/bin/wan adsl open"};
}
Commands closeDsl() {
    return {"/usr/bin/wan adsl close"};
}
Commands endPtm() {
    return {"echo 0 >/proc/tc3162/ptm_do_reset_sequence"};
}
Commands removePtmRule(const std::string& device, int rule) {
    return {"vlanctl --tx --if " + device + " --tags 0 --rule-remove " + std::to_string(rule)};
}
Commands restartQuarterHours() {
    return {"rm -rf /tmp/quarterHours/", "/usr/etc/initQuarterHourFiles.sh"};
}

Commands startScripts() {
    return {"/etc/init.d/button_disable_for_manufacture.sh", "/etc/init.d/mcpd.sh reload",
            "/etc/init.d/disable_lan.sh stop "};
}
Commands startUpnp(bool natTraversal) {
    return {natTraversal ? "vupnp.sh -N&" : "vupnp.sh&"};
}
Commands endHunt(const std::string& name) {
    return {"killall " + name};
}

Commands ledOff() {
    return {"echo 0 > /proc/tc3162/led_internet_red\n", "echo 0 0 > /proc/tc3162/led_internet\n"};
}
Commands ledGreen() {
    return {"echo 0 > /proc/tc3162/led_internet_red\n", "echo 2 0 > /proc/tc3162/led_internet\n"};
}
Commands ledRed() {
    return {"echo 0 0 > /proc/tc3162/led_internet\n", "echo 2 > /proc/tc3162/led_internet_red\n"};
}

void giveLeds(Gateway&) {}
bool showsRed(const Gateway& gw) {
    const Commands commands = gw.commands();
    const auto lastRed = std::find(commands.rbegin(), commands.rend(), ledRed()[1]);
    const auto lastOff = std::find(commands.rbegin(), commands.rend(), ledOff()[0]);
    return lastRed - commands.rbegin() < lastOff - commands.rbegin();
}

bool namesDslDevices() {
    return true;
}

}  // namespace words
