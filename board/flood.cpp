// Sends many messages to the monitor daemon, one after the other, each waiting for room in its queue.
//
//   board-flood COUNT TYPE PAYLOAD...
//
// The payloads take turns. Exit status 1 when a message was not delivered.
#include <vcfg/vcfg.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

constexpr uint32_t kTimeoutMs = 60000;

bool deliver(uint32_t type, const char* payload) {
    const size_t length = strlen(payload) + 1;
    auto* const message = static_cast<vcfg_msg_t*>(calloc(1, VCFG_MSG_HEADER_SIZE + length));
    if (message == nullptr || length > VCFG_MSG_PAYLOAD_MAX) {
        free(message);
        return false;
    }
    message->type = type;
    message->dstEid = VCFG_EID_TARN;
    message->length = static_cast<uint16_t>(length);
    memcpy(vcfg_msg_payload(message), payload, length);
    return vcfg_msg_sendAndGetReply(message, nullptr, kTimeoutMs) == VCFG_DELIVERED;
}

}  // namespace

int main(int count, char** words) {
    if (count < 4) {
        fprintf(stderr, "usage: board-flood COUNT TYPE PAYLOAD...\n");
        return 2;
    }
    const auto messages = strtoul(words[1], nullptr, 0);
    const auto type = static_cast<uint32_t>(strtoul(words[2], nullptr, 0));
    const auto payloads = static_cast<unsigned long>(count) - 3;
    for (unsigned long i = 0; i < messages; ++i) {
        if (!deliver(type, words[3 + i % payloads])) {
            fprintf(stderr, "board-flood: message %lu of %lu was not delivered\n", i + 1, messages);
            return 1;
        }
    }
    return 0;
}
