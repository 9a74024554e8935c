// Mail addresses and host names, as far as this device takes them from its user.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace mail {

// local@domain in plain ASCII, without anything that could end the address where it is used.
bool isAddress(std::string_view text);
// A host name, or an IPv4 or IPv6 address without brackets.
bool isHost(std::string_view text);
// The addresses of a comma-separated list, without the spaces around them; empty ones are left out.
std::vector<std::string> listOf(std::string_view text);
// Valid UTF-8 without control characters; of these, line breaks and tabs are allowed with `lines`.
bool isText(std::string_view text, bool lines);
// Bytes of the UTF-8 character that begins with `first`; 0 when none does.
size_t characterSize(char first);

}  // namespace mail
