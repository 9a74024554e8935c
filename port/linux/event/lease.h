// What a DHCP client says about its lease, as its hook's environment tells it. Every value comes from the network: it
// is text here and nothing else.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

enum class LeaseEvent { Bound, Renewed, Lost };

// What the event is called in the hook's first argument; nothing for one that changes no lease.
std::optional<LeaseEvent> leaseEvent(std::string_view word);

// A requested option: its number, and the name under which the daemon looks for its value.
struct WantedOption {
    uint32_t tag;
    std::string key;
};

// The event's payload, a JSON text.
std::string leasePayload(LeaseEvent event, const std::vector<WantedOption>& wanted);

// Path of the pid file of the client on that device.
std::string pidFileOf(std::string_view device);
