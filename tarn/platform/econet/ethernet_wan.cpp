#include "platform/ethernet_wan.h"

#include <string>

#include "core/log.h"
#include "core/shell.h"

// The chip has one activation for all its ports.
int32_t tarnEthWanStatusChange(bool enable, int32_t) {
    const std::string command = std::string("/userfs/bin/ethphxcmd eth0 wanactive ") + (enable ? "enable" : "disable");
    logs::print("%s: sysCmd = %s\n", __func__, command.c_str());
    return run(command);
}

void activateEthWanPort(const char*) {
    run("/userfs/bin/ethphxcmd eth0 wanactive disable");
    run("/userfs/bin/ethphxcmd eth0 wanactive enable");
}
