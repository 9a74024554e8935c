// What texts of the data model and of the network may be.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

bool isAddress(const std::string& text);
bool isIpv6Address(const std::string& text);
// Whether a tool may be given that as a host: a name or address, no option and nothing stranger.
bool isHost(const std::string& text);
// A name that a device can have, and that no command takes for an option.
bool isDevice(const std::string& text);
// Number of leading ones of a mask in dots; nothing for a text that is no such mask.
std::optional<unsigned> maskWidth(const std::string& mask);

// The parts of a list that commas or blanks separate.
std::vector<std::string> listed(std::string_view text);
