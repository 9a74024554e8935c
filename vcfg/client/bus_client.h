// The sending side: the calling thread's own connections to the endpoints it talks to.
#pragma once

#include "bus_server.h"
#include "deadline.h"
#include "link.h"

namespace vcfg::bus {

// Puts the message into the queue of its `dstEid`: VCFG_DELIVERED, or why not.
int deliver(const vcfg_msg_t& message, const Deadline& deadline);

// The same without waiting for room: VCFG_ERR_FULL.
int deliverNow(const vcfg_msg_t& message);

// Sends the message and waits for the answer with its `requestId`. After any failure the connection is closed, so that
// a late answer meets nobody.
int call(const vcfg_msg_t& message, const Deadline& deadline, MessagePtr* reply);
// The same with a message that is freed as soon as it is sent: the answer finds its memory still warm.
int call(MessagePtr message, const Deadline& deadline, MessagePtr* reply);

// The same by a link of the caller's own, which is connected here.
int callBy(Link& link, const vcfg_msg_t& message, const Deadline& deadline, MessagePtr* reply);

// What the peer sends by itself on the connection that call() used, for those who asked it to.
int nextFrom(uint8_t eid, const Deadline& deadline, MessagePtr* message);

// A request id that no other request of this process has, never 0.
uint32_t freshRequestId();

}  // namespace vcfg::bus
