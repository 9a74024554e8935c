// The reference: packets between two processes over AF_UNIX SOCK_SEQPACKET, without anything of ours.
#include <sys/socket.h>

#include <string>

#include "measure.h"

namespace {

using namespace bench;

constexpr size_t kLargest = 66000;
constexpr size_t kMark = 1;  // a packet of this size is answered; the sink takes others silently

void echo(int socket) {
    std::string buffer(kLargest, '\0');
    for (ssize_t size = 1; size > 0;) {
        size = recv(socket, buffer.data(), buffer.size(), 0);
        send(socket, buffer.data(), static_cast<size_t>(size), 0);
    }
}

void sink(int socket) {
    std::string buffer(kLargest, '\0');
    for (ssize_t size = 1; size > 0;) {
        size = recv(socket, buffer.data(), buffer.size(), 0);
        if (size == kMark) {
            send(socket, buffer.data(), kMark, 0);
        }
    }
}

struct Pair {
    int near;
    int far;
};

Pair makePair() {
    int ends[2];
    if (socketpair(AF_UNIX, SOCK_SEQPACKET, 0, ends) != 0) {
        fail("socketpair");
    }
    return {ends[0], ends[1]};
}

void roundTrip(int socket, std::string& packet, size_t size) {
    if (send(socket, packet.data(), size, 0) < 0 || recv(socket, packet.data(), packet.size(), 0) < 0) {
        fail("round trip");
    }
}

void batch(int socket, std::string& packet, int count) {
    for (int each = 0; each < count; ++each) {
        send(socket, packet.data(), kEnvelope + kPayloads[0], 0);
    }
    roundTrip(socket, packet, kMark);
}

}  // namespace

int main() {
    const Pair echoing = makePair();
    const Pair sinking = makePair();
    const Process echoServer([&](const auto& ready) { ready(), echo(echoing.far); });
    const Process sinkServer([&](const auto& ready) { ready(), sink(sinking.far); });
    std::string packet(kLargest, 'x');
    return serve(calls([&](size_t payload) { roundTrip(echoing.near, packet, kEnvelope + payload); }) +
                 oneWay([&](int count) { batch(sinking.near, packet, count); }));
}
