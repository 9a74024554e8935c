// The table of the gateway's WAN-capable physical links, with the state that the daemon last acted on. Entries are
// added while others walk it and are never removed, so a walk needs no guard.
#pragma once

#include <vcfg/msg.h>
#include <vcfg/text.h>

#include <atomic>
#include <cstdint>
#include <memory>

struct WanLinkInfo {
    std::atomic<uint8_t> linkStatus{0};  // 1: up
    uint8_t linkType = 0;                // kLinkDslLine, kLinkEthernet, kLinkOptical or kLinkUsb
    objIndex iid{};
    vcfg::Text<64> ifaceName{};  // "usb", "opt", the Ethernet interface's Name; empty for DSL
    uint8_t isSFP = 0;
    std::unique_ptr<WanLinkInfo> next;  // fixed once the entry is in the table
};

// The newest entry: Ethernet, last instance first, then optical, USB and DSL.
WanLinkInfo* firstWanLink();

// Adds an entry per WAN link of the data model and activates the Ethernet WAN ports; a second run adds them once more.
// 0, or -5 when memory is short.
int32_t initWanLinkInfo();

// 1 when a DSL line of the data model is up.
uint8_t isDslLineLinkUp();

// Takes the entries of a type, or all of them (10), for down.
void tarnResetWanLinkStatus(uint8_t linkType);

// Makes the Ethernet WAN ready for use. 0, or -17 without an interface name, which only gates the action.
int32_t restartEthWanPhy(const char* ifaceName);

// Empties the table. Only while no other thread of the daemon runs.
void forgetWanLinks();
