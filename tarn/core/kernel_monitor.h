// The kernel's event messages: framing of a datagram, decoding of a message, and the one switch to what is done about
// it.
#pragma once

#include <atomic>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

// The netlink socket on which the kernel reports link changes; -1 when there is none.
extern std::atomic<int> kernelFd;

namespace kernel {

// One message of a datagram, as it lies there.
struct Frame {
    std::string_view header;  // 16 bytes
    std::string_view payload;
};
// Takes the first message off `rest`; nothing when what is left is no whole message.
std::optional<Frame> nextFrame(std::string_view& rest);

enum class Kind { Error, Done, Link, Ignored, Unknown };
struct Event {
    Kind kind;
    uint16_t type;
    uint32_t sender;                  // 0: the kernel
    std::optional<std::string> text;  // up to the first NUL or the end of the payload
};
Event decode(const Frame& frame);

// What the daemon does about a link event; `text` is null for one without text.
using LinkChanged = void (*)(const char* text);
void handleDatagram(std::string_view bytes, LinkChanged linkChanged);

}  // namespace kernel

// Receives one datagram from kernelFd and handles it.
void processKernelMonitor(kernel::LinkChanged linkChanged);
