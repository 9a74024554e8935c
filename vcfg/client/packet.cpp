#include "packet.h"

#include <endian.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/uio.h>

#include <bit>
#include <cerrno>
#include <cstring>

namespace vcfg::bus {
namespace {

constexpr size_t kLargest = VCFG_MSG_HEADER_SIZE + VCFG_MSG_PAYLOAD_MAX;
// From here on a message keeps the buffer that it was received into; copying costs more than a new buffer.
constexpr size_t kWorthKeeping = 8192;

vcfg_msg_t toWire(const vcfg_msg_t& message) {
    vcfg_msg_t wire = message;
    wire.type = htole32(message.type);
    wire.oid = htole32(message.oid);
    wire.length = htole16(message.length);
    wire.requestId = htole32(message.requestId);
    wire.statCode = htole32(message.statCode);
    return wire;
}

void fromWire(vcfg_msg_t& message) {
    message.type = le32toh(message.type);
    message.oid = le32toh(message.oid);
    message.length = le16toh(message.length);
    message.requestId = le32toh(message.requestId);
    message.statCode = le32toh(message.statCode);
}

}  // namespace

bool hasEnded(int socket) {
    pollfd state{socket, POLLRDHUP, 0};
    return poll(&state, 1, 0) < 0 || (state.revents & (POLLRDHUP | POLLHUP | POLLERR)) != 0;
}

int sendPacket(int socket, const vcfg_msg_t& message, int flags) {
    if constexpr (std::endian::native == std::endian::little) {
        return send(socket, &message, VCFG_MSG_HEADER_SIZE + message.length, flags | MSG_NOSIGNAL) < 0 ? errno : 0;
    }
    vcfg_msg_t header = toWire(message);
    iovec parts[] = {{&header, sizeof header}, {const_cast<char*>(vcfg_msg_text(&message)), message.length}};
    msghdr packet{};
    packet.msg_iov = parts;
    packet.msg_iovlen = 2;
    return sendmsg(socket, &packet, flags | MSG_NOSIGNAL) < 0 ? errno : 0;
}

Arrival Receiver::receive(int socket, int flags, MessagePtr* message) {
    if (buffer_ == nullptr) {
        buffer_.reset(static_cast<vcfg_msg_t*>(malloc(kLargest + 1)));
        if (buffer_ == nullptr) {
            return bad("memory is short");
        }
    }
    const ssize_t received = recv(socket, buffer_.get(), kLargest, flags | MSG_TRUNC);
    if (received < 0) {
        return errno == EAGAIN || errno == EINTR ? Arrival::Nothing : Arrival::Closed;
    }
    // An empty packet and the end of a connection look alike to recv().
    if (received == 0 && hasEnded(socket)) {
        return Arrival::Closed;
    }
    return examine(static_cast<size_t>(received), message);
}

Arrival Receiver::examine(size_t received, MessagePtr* message) {
    if (received < VCFG_MSG_HEADER_SIZE) {
        return bad("it is shorter than an envelope");
    }
    fromWire(*buffer_);
    if (received != VCFG_MSG_HEADER_SIZE + buffer_->length) {
        return bad("its length is not what the envelope says");
    }
    *message = handOut(received);
    return *message != nullptr ? Arrival::Message : bad("memory is short");
}

MessagePtr Receiver::handOut(size_t size) {
    MessagePtr message;
    if (size < kWorthKeeping) {
        message.reset(static_cast<vcfg_msg_t*>(malloc(size + 1)));
        if (message != nullptr) {
            memcpy(message.get(), buffer_.get(), size);
        }
    } else {
        void* shrunk = realloc(buffer_.get(), size + 1);
        if (shrunk != nullptr) {
            static_cast<void>(buffer_.release());
            message.reset(static_cast<vcfg_msg_t*>(shrunk));
        }
    }
    if (message != nullptr) {
        reinterpret_cast<char*>(message.get())[size] = '\0';
    }
    return message;
}

}  // namespace vcfg::bus
