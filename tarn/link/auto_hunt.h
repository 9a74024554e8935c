// Handing a WAN link to the VC or VLAN hunting daemon, and taking it back.
#pragma once

#include <cstdint>

// 0: go on normally; 1: a running hunt could not be stopped; 2: a hunt is running, leave the link alone.
int32_t AutoHuntProcess(int32_t linkType, uint8_t linkStatus);

// 1 when a hunt was started.
uint8_t isVcAutoHuntEnable();
uint8_t isVlanAutoHuntEnable();

// 1 when the VLAN hunt's interface list names an existing IP interface.
uint8_t isVlanHuntInterfaceMatch();
