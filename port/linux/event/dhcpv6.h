// What the DHCPv6 client says, as its hook's environment tells it.
#pragma once

#include <optional>
#include <string>
#include <string_view>

// The event's payload, a JSON text; nothing for a reason that changes neither address nor prefix.
std::optional<std::string> dhcpv6Payload(std::string_view reason);
