// A packet of the bus, as its receiver takes it off a socket.
#include <sys/socket.h>

#include "client/packet.h"
#include "target.h"

namespace {

// What may not be said of a message that was handed out: its text is not terminated where its length says.
bool isBroken(const vcfg_msg_t& message, size_t sent) {
    return VCFG_MSG_HEADER_SIZE + message.length != sent || vcfg_msg_text(&message)[message.length] != '\0';
}

}  // namespace

void handleInput(std::string_view bytes) {
    static int ends[2] = {-1, -1};
    if (ends[0] < 0 && socketpair(AF_UNIX, SOCK_SEQPACKET, 0, ends) != 0) {
        finding("no socket pair");
    }
    vcfg::bus::Receiver receiver;
    vcfg::bus::MessagePtr message;
    if (send(ends[0], bytes.data(), bytes.size(), MSG_DONTWAIT) < 0) {
        return;
    }
    const auto arrival = receiver.receive(ends[1], MSG_DONTWAIT, &message);
    if (arrival == vcfg::bus::Arrival::Message && isBroken(*message, bytes.size())) {
        finding("a packet has become another message");
    }
}
