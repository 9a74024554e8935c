#include "core/kernel_monitor.h"

#include <linux/netlink.h>
#include <sys/socket.h>
#include <vcfg/recorder.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>

#include "core/log.h"

std::atomic<int> kernelFd{-1};

namespace kernel {
namespace {

constexpr size_t kHeaderSize = 16;
constexpr size_t kBufferSize = 4096;

constexpr uint16_t kError = 2;
constexpr uint16_t kDone = 3;
constexpr uint16_t kPlatform1 = 0x0100;
constexpr uint16_t kLinkWithoutText = 0x1000;
constexpr uint16_t kLinkWithText = 0x2000;
constexpr uint16_t kPlatform2 = 0x4000;
constexpr uint16_t kPlatform3 = 0x8000;

uint32_t littleEndian(std::string_view bytes, size_t offset, size_t width) {
    uint32_t value = 0;
    for (size_t i = width; i > 0; --i) {
        value = value << 8 | static_cast<uint8_t>(bytes[offset + i - 1]);
    }
    return value;
}

Kind kindOf(uint16_t type) {
    switch (type) {
        case kError:
            return Kind::Error;
        case kDone:
            return Kind::Done;
        case kLinkWithoutText:
        case kLinkWithText:
            return Kind::Link;
        case kPlatform1:
        case kPlatform2:
        case kPlatform3:
            return Kind::Ignored;
        default:
            return Kind::Unknown;
    }
}

// Carries out one event; false when the rest of its datagram is not to be looked at.
bool handle(const Event& event, LinkChanged linkChanged) {
    if (event.kind == Kind::Done) {
        return false;
    }
    if (event.kind == Kind::Error) {
        logs::print("read_netlink: Message is an error ");
        return false;
    }
    if (event.sender != 0) {
        logs::print("netlink message source(%d)is not kernel\n", static_cast<int>(event.sender));
        return false;
    }
    if (event.kind == Kind::Link) {
        linkChanged(event.text ? event.text->c_str() : nullptr);
    } else if (event.kind == Kind::Unknown) {
        logs::print(" Unknown netlink nlmsg_type %d\n", event.type);
    }
    return true;
}

ssize_t receive(int descriptor, std::array<char, kBufferSize>& buffer) {
    sockaddr_nl source{};
    iovec vector{buffer.data(), buffer.size()};
    msghdr message{};
    message.msg_name = &source;
    message.msg_namelen = sizeof source;
    message.msg_iov = &vector;
    message.msg_iovlen = 1;
    return recvmsg(descriptor, &message, 0);
}

}  // namespace

std::optional<Frame> nextFrame(std::string_view& rest) {
    if (rest.size() < kHeaderSize) {
        return std::nullopt;
    }
    const uint32_t length = littleEndian(rest, 0, 4);
    if (length < kHeaderSize || length > rest.size()) {
        return std::nullopt;
    }
    const Frame frame{rest.substr(0, kHeaderSize), rest.substr(kHeaderSize, length - kHeaderSize)};
    const size_t aligned = (size_t{length} + 3) / 4 * 4;
    rest.remove_prefix(std::min(aligned, rest.size()));
    return frame;
}

Event decode(const Frame& frame) {
    Event event{};
    event.type = static_cast<uint16_t>(littleEndian(frame.header, 4, 2));
    event.sender = littleEndian(frame.header, 12, 4);
    event.kind = kindOf(event.type);
    if (event.type == kLinkWithText) {
        event.text = frame.payload.substr(0, frame.payload.find('\0'));
    }
    return event;
}

void handleDatagram(std::string_view bytes, LinkChanged linkChanged) {
    while (const auto frame = nextFrame(bytes)) {
        if (!handle(decode(*frame), linkChanged)) {
            return;
        }
    }
}

}  // namespace kernel

void processKernelMonitor(kernel::LinkChanged linkChanged) {
    std::array<char, kernel::kBufferSize> buffer{};
    const ssize_t received = kernel::receive(kernelFd, buffer);
    if (received < 0) {
        const int error = errno;
        if (error == EAGAIN) {
            return;
        }
        logs::print("read_netlink: Error recvmsg: %d\n", static_cast<int>(received));
        errno = error;
        perror("read_netlink: Error: ");
        return;
    }
    if (received == 0) {
        logs::print("read_netlink: EOF");
    }
    vcfgEventStep("datagram", "", 0, buffer.data(), static_cast<size_t>(received));
    kernel::handleDatagram(std::string_view(buffer.data(), static_cast<size_t>(received)), linkChanged);
}
