// What the daemon knows about the WAN as a whole. Bus threads and the main thread read and write it at any time, so
// every field is atomic; no two fields have to agree with each other at one moment.
#pragma once

#include <atomic>
#include <cstdint>

// Link types, as entries of the WAN link table and as the kind of connection that a link carries.
inline constexpr int32_t kLinkDslAtm = 0;
inline constexpr int32_t kLinkDslPtm = 1;
inline constexpr int32_t kLinkDslLine = 2;
inline constexpr int32_t kLinkEthernet = 3;
inline constexpr int32_t kLinkOptical = 5;
inline constexpr int32_t kLinkUsb = 7;
inline constexpr int32_t kLinkNone = 10;  // no link; to tarnResetWanLinkStatus: all links

// WANPriority: who carries the WAN when several links are up.
inline constexpr int32_t kDslFirst = 2;
inline constexpr int32_t kAutoDetect = 3;
inline constexpr int32_t kEthernetKept = 8;

struct WanState {
    std::atomic<uint8_t> wanLinkInfoInit{0};  // the WAN link table is complete
    std::atomic<int32_t> WANPriority{10};     // start-up sets 3
    std::atomic<int32_t> EthWANPriority{0};   // with an SFP port: 1 it wins, 0 the copper WAN port wins
    std::atomic<int32_t> currWanLinkType{kLinkNone};
    std::atomic<uint8_t> supportSFP{0};
    std::atomic<uint8_t> isDslLinkUp{0};
    std::atomic<int32_t> isSfpWanLinkUp{0};       // the Ethernet link that came up last is the SFP port
    std::atomic<uint8_t> wanLinkDown{1};          // no wired, DSL or optical link is up
    std::atomic<uint8_t> wirelessWanLinkDown{1};  // the same for USB
    std::atomic<int32_t> lastXtmLinkMode{10};     // mode of the last DSL link-up: 0 ATM, 1 PTM, 10 never up
    std::atomic<uint8_t> isAutoHuntFinished{0};
    std::atomic<uint8_t> isVcAutoHuntRunnig{0};
    std::atomic<uint8_t> isVlanAutoHuntRunnig{0};
    std::atomic<int32_t> lastInternetLedState{-1};  // nothing shown yet
    std::atomic<uint8_t> wanInternetUp{0};
};

extern WanState wan;

// Back to the values of a daemon that has just started.
void resetWanState();
