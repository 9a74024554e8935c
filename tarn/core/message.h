// Messages that the daemon sends: replies to requesters and requests to other daemons.
#pragma once

#include <vcfg/msg.h>
#include <vcfg/msg_types.h>

#include <cstdlib>
#include <memory>

struct FreeMessage {
    void operator()(vcfg_msg_t* message) const { free(message); }
};
using MessagePtr = std::unique_ptr<vcfg_msg_t, FreeMessage>;

// A zeroed message with `payloadSize` bytes behind its envelope; empty when memory is short.
MessagePtr allocateMessage(size_t payloadSize);

// Sends the reply of `type` to the requester; `data` (may be null) is a text of `dataLen` characters, its terminator
// goes along, so the reply's length is dataLen + 1. `objIid` may be null. Returns the bus send result, or -5.
int tarnReqMsgReply(uint8_t dstEid, uint32_t requestId, uint32_t type, uint32_t dataLen, const objIndex* objIid,
                    const char* data, uint32_t statCode);

// A message without payload from the daemon to `dstEid`, with `spare` bytes behind it; empty when memory is short,
// which it has logged.
MessagePtr newRequest(uint32_t type, uint8_t dstEid, size_t spare = 0);

// Delivers a request that asks for no answer; VCFG_DELIVERED when it is in its receiver's queue. Waits for room in that
// queue, but no longer than three seconds: the receiver may be this daemon, whose threads wait for the one that sends.
int deliver(MessagePtr request);

// Tells vcmd that the daemon has finished its data-model initialisation, and waits for its answer.
void sendInitFin();
