// Our bus: calls, one-way messages, and many senders to one endpoint.
#include <vcfg/msg.h>

#include <cstdlib>

#include "measure.h"
#include "senders.h"

namespace {

using namespace bench;

constexpr uint8_t kServer = 100;
constexpr uint32_t kCall = 1;
constexpr uint32_t kOneWay = VCFG_MSG_NO_REPLY | 1;

[[noreturn]] void serveEcho(const std::function<void()>& ready) {
    if (vcfg_msg_eidInit(kServer, "bench") != VCFG_OK || vcfg_msg_serverInit() != VCFG_OK) {
        fail("the bus's server");
    }
    ready();
    for (;;) {
        vcfg_msg_t* message = nullptr;
        if (vcfg_msg_serverRecv(&message, 0) != VCFG_OK || message->type == kOneWay) {
            free(message);
            continue;
        }
        message->dstEid = message->srcEid;
        message->srcEid = kServer;
        vcfg_msg_serverSend(message);
    }
}

// Its payload is any bytes, as it is with the other peers.
vcfg_msg_t* newMessage(uint32_t type, size_t payload) {
    auto* const message = static_cast<vcfg_msg_t*>(malloc(VCFG_MSG_HEADER_SIZE + payload));
    *message = {};
    message->type = type;
    message->srcEid = 101;
    message->dstEid = kServer;
    message->length = static_cast<uint16_t>(payload);
    return message;
}

void call(size_t payload) {
    vcfg_msg_t* reply = nullptr;
    if (vcfg_msg_sendAndGetReply(newMessage(kCall, payload), &reply, 0) != VCFG_OK) {
        fail("the bus does not answer");
    }
    free(reply);
}

// The call at the end travels by a connection of its own: it is answered one turn early at most, which is little beside
// the batch.
void batch(int count) {
    for (int each = 0; each < count; ++each) {
        if (vcfg_msg_sendAndGetReply(newMessage(kOneWay, kPayloads[0]), nullptr, 0) != VCFG_DELIVERED) {
            fail("the bus does not take a message");
        }
    }
    call(0);
}

}  // namespace

int main() {
    const Directory directory;
    setenv("VCFG_RUN_DIR", directory.file("run").c_str(), 1);
    const Process server(serveEcho);
    return serve(calls(call) + oneWay(batch) + senders(1) + senders(64));
}
