#include "delivery.h"

#include <time.h>
#include <vcfg/vcfg.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

constexpr int kAttempts = 50;
constexpr long kPauseNs = 100000000;  // the daemon may be about to restart
constexpr uint32_t kTimeoutMs = 5000;

int send(uint32_t type, const std::string& payload) {
    const size_t size = VCFG_MSG_HEADER_SIZE + payload.size() + 1;
    auto* const message = static_cast<vcfg_msg_t*>(calloc(1, size));
    if (message == nullptr || payload.size() + 1 > VCFG_MSG_PAYLOAD_MAX) {
        free(message);
        return VCFG_ERR_INVALID;
    }
    message->type = type;
    message->dstEid = VCFG_EID_TARN;
    message->length = static_cast<uint16_t>(payload.size() + 1);
    memcpy(vcfg_msg_payload(message), payload.c_str(), payload.size() + 1);
    return vcfg_msg_sendAndGetReply(message, nullptr, kTimeoutMs);
}

}  // namespace

bool deliver(uint32_t type, const std::string& payload) {
    int result = VCFG_ERR_NO_PEER;
    for (int attempt = 0; attempt < kAttempts; ++attempt) {
        result = send(type, payload);
        if (result != VCFG_ERR_NO_PEER) {
            break;
        }
        const timespec pause{0, kPauseNs};
        nanosleep(&pause, nullptr);
    }
    if (result != VCFG_DELIVERED) {
        fprintf(stderr, "the event was not delivered (%d)\n", result);
        return false;
    }
    return true;
}
