#include "connection/pending_request.h"

#include <mutex>

#include "core/log.h"
#include "core/message.h"

namespace pending {
namespace {

std::mutex guard;  // held only to copy the record
std::optional<PendingRequest> waiting;

}  // namespace

void record(uint8_t requester, uint32_t handle, uint8_t idx) {
    const std::lock_guard lock(guard);
    waiting = requester != 0 ? std::optional(PendingRequest{requester, handle, idx}) : std::nullopt;
}

std::optional<PendingRequest> peek() {
    const std::lock_guard lock(guard);
    return waiting;
}

std::optional<PendingRequest> take(uint8_t idx) {
    const std::lock_guard lock(guard);
    if (!waiting || waiting->idx != idx) {
        return std::nullopt;
    }
    const PendingRequest taken = *waiting;
    waiting.reset();
    return taken;
}

void clear() {
    const std::lock_guard lock(guard);
    waiting.reset();
}

}  // namespace pending

void replyToWanCommand(uint8_t requester, uint32_t handle) {
    tarnReqMsgReply(requester, handle, VCFG_MSG_WAN_REPLY, 0, nullptr, nullptr, 0);
}

void answerWaiting(const char* outcome, uint8_t idx) {
    if (const auto waiting = pending::take(idx)) {
        logs::print("%s with idx=%d, send reply.\n", outcome, waiting->idx);
        replyToWanCommand(waiting->requester, waiting->handle);
    }
}
