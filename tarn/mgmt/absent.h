// How the LAN's DHCP server says that a client did not send an option.
#pragma once

#include <string_view>

// Empty, or the server's '*'.
inline bool isAbsent(std::string_view value) {
    return value.empty() || value.front() == '*';
}
