// The one requester that waits for the outcome of a connect, disconnect, renew or release command.
#pragma once

#include <cstdint>
#include <optional>

struct PendingRequest {
    uint8_t requester;  // endpoint id of the requester, never 0
    uint32_t handle;    // its request handle, echoed in the reply
    uint8_t idx;        // instance number of the connection whose outcome it waits for
};

namespace pending {

// A new command replaces an older record; the older requester is never answered.
void record(uint8_t requester, uint32_t handle, uint8_t idx);

// A copy of the record; nothing when nobody waits.
std::optional<PendingRequest> peek();

// Takes the record out when it waits for connection `idx`, so that of several reporters exactly one answers.
std::optional<PendingRequest> take(uint8_t idx);

void clear();

}  // namespace pending

// The reply to a connect, disconnect, renew or release command: no payload, statCode 0.
void replyToWanCommand(uint8_t requester, uint32_t handle);

// An event reports the outcome of connection `idx`: the requester that waits for it, if one does, is answered.
void answerWaiting(const char* outcome, uint8_t idx);
