// DHCP options rebuilt from the texts into which the client has turned them.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

// Option 121 from the client's pairs ("10.9.0.0/16 192.0.2.1 ..."): the routes before the first bad pair, as many as an
// option holds.
std::vector<uint8_t> classlessRoutes(std::string_view pairs);

// Data of any option that the client has passed on: from the named variable it made of it, or from "opt<tag>", which
// holds the bytes. Empty when the option was not received.
std::vector<uint8_t> optionData(uint32_t tag);

// Code, length and data, as hexadecimal text; empty for empty data. At most 255 bytes of data.
std::string optionText(uint32_t tag, const std::vector<uint8_t>& data);
