// Data-model path texts of the form "IP.Interface.3", as the daemon writes, reads and compares them.
#pragma once

#include <vcfg/msg.h>

#include <cstdint>
#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>

namespace path {

inline constexpr std::string_view kIpInterface = "IP.Interface.";
inline constexpr std::string_view kPppInterface = "PPP.Interface.";
inline constexpr std::string_view kEthernetInterface = "Ethernet.Interface.";
inline constexpr std::string_view kEthernetLink = "Ethernet.Link.";
inline constexpr std::string_view kVlanTermination = "Ethernet.VLANTermination.";
inline constexpr std::string_view kAtmLink = "ATM.Link.";
inline constexpr std::string_view kPtmLink = "PTM.Link.";
inline constexpr std::string_view kDslLine = "DSL.Line.";
inline constexpr std::string_view kDslChannel = "DSL.Channel.";
inline constexpr std::string_view kOpticalInterface = "Optical.Interface.";
inline constexpr std::string_view kUsbInterface = "USB.Interface.";
inline constexpr std::string_view kBridge = "Bridging.Bridge.";

// "IP.Interface." and 3 give "IP.Interface.3".
std::string of(std::string_view table, unsigned instance);

// The instance number behind the table's name, 1 to 255, at the start of the text; what follows it must be the end or a
// '.' or ','. Anything else (no number, 0, 256, a sign) is no instance.
std::optional<uint8_t> instance(std::string_view table, std::string_view text);

// Whether a list of paths, or a longer path, holds the path as a whole: "DSL.Line.1" does not occur in "DSL.Line.12".
bool occursIn(std::string_view text, std::string_view path);

}  // namespace path

// Instance-id records.
objIndex instanceId(std::initializer_list<uint8_t> numbers);
inline objIndex noInstance() {
    return {};
}
inline bool operator==(const objIndex& left, const objIndex& right) {
    if (left.level != right.level) {
        return false;
    }
    for (int i = 0; i < left.level && i < 6; ++i) {
        if (left.idx[i] != right.idx[i]) {
            return false;
        }
    }
    return true;
}
