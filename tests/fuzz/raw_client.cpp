#include "raw_client.h"

#include <sys/socket.h>
#include <unistd.h>
#include <vcfg/msg.h>

#include "client/run_dir.h"

RawClient::RawClient(const std::string& socketPath) : path_(socketPath) {}

bool RawClient::connect() {
    sockaddr_un address{};
    socket_ = socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    return socket_ >= 0 && vcfg::bus::toAddress(path_, &address) &&
           ::connect(socket_, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
}

bool RawClient::send(std::string_view packet) {
    for (int tries = 0; tries < 2; ++tries) {
        if (socket_ < 0 && !connect()) {
            break;
        }
        if (::send(socket_, packet.data(), packet.size(), MSG_NOSIGNAL | MSG_DONTWAIT) >= 0) {
            return true;
        }
        hangUp();
    }
    return false;
}

std::optional<std::string> RawClient::receive() {
    static char packet[VCFG_MSG_HEADER_SIZE + VCFG_MSG_PAYLOAD_MAX];
    const ssize_t size = socket_ >= 0 ? recv(socket_, packet, sizeof packet, MSG_DONTWAIT) : -1;
    return size > 0 ? std::optional(std::string(packet, static_cast<size_t>(size))) : std::nullopt;
}

void RawClient::finish() {
    if (socket_ >= 0) {
        shutdown(socket_, SHUT_WR);
    }
}

void RawClient::hangUp() {
    if (socket_ >= 0) {
        close(socket_);
        socket_ = -1;
    }
}
