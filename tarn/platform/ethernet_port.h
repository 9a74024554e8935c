// Ethernet ports: what the kernel reports about them, and the Ethernet WAN port taking over from DSL and handing back.
// A port event is "name:status:speed:duplex", e.g. "eth0.2:up:1000:F".
#pragma once

#include <vcfg/rdm.h>

#include <cstdint>
#include <string_view>

// A port event: publishes the port's status; a port that went down leaves its interface group, and IGMP snooping is
// told. `event` may be null. Always 0.
int32_t updateLanLinkStatus(const char* event);
// Publishes the port's status only.
void updateETHWANStatus(const char* event);

void setEthIntfInfo(std::string_view name, std::string_view status, std::string_view speed, std::string_view duplex);
// Always 0.
int32_t removeIfaceGroup(std::string_view name);
// The data model's last code, or -1 when the kernel's file cannot be written.
int32_t igmpsnoopingEthPortStat(std::string_view name);

// The Ethernet WAN port came up: 1 when the WAN was Ethernet's already, 0 when DSL was shut down for it just now.
uint8_t handleWANAutoDetectETH();
// The last Ethernet WAN port went down: DSL is opened again. The command's result.
int32_t handleWANAutoDetectETHDown();

// Nothing on this platform: the port event has published the port's record, and a copy that is older than that must not
// overwrite it.
void updateWANEthIfaceObjStatus(const objIndex& iid, const EthernetInterface& port);
