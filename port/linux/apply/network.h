// The kernel's network as the hooks change it, through the ip command.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

// Runs `ip` with these words, no shell between. False when it failed; it has said why on standard error.
bool ip(const std::vector<std::string>& words);
// The same where a failure means that what should go is gone already.
void ipQuietly(const std::vector<std::string>& words);

bool isAddress(const std::string& text);
bool isIpv6Address(const std::string& text);
// A name that a device can have, and that no command takes for an option.
bool isDevice(const std::string& text);
// Number of leading ones of a mask in dots; nothing for a text that is no such mask.
std::optional<unsigned> maskWidth(const std::string& mask);

// The parts of a list that commas or blanks separate.
std::vector<std::string> listed(std::string_view text);
