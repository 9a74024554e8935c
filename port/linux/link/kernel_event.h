// The platform kernel's link events: netlink datagrams to the one process that registered for them.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace kernel_event {

constexpr uint16_t linkWithText = 0x2000;
constexpr const char* registrationFile = "/proc/kmonitor/user_pid";

// The process registered in `file`; nothing when the file is missing or names none.
std::optional<pid_t> registeredProcess(const std::string& file);

// One netlink message as the kernel writes it: sender id 0, padded to a multiple of 4 bytes. With `text`, the payload
// is the text and its terminator.
std::string message(uint16_t type, const std::optional<std::string>& text, uint32_t sequence = 0);

enum class Delivery { done, nobody, full, failed };

// Puts one datagram into the queue of the process, waiting up to `timeoutMs` for room. On anything but done, `error`
// says what happened.
Delivery send(pid_t process, std::string_view datagram, unsigned timeoutMs, std::string& error);

}  // namespace kernel_event
