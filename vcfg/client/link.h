// One thread's connection to one endpoint.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <string>

#include "deadline.h"
#include "packet.h"
#include "recorder/events.h"

namespace vcfg::bus {

// Requests and messages that nobody waits for go different ways: the latter's connection takes no answers, so that a
// receiver's answer to them fails at once and can be sent to the sender's endpoint instead.
enum class Way : uint8_t { Request, OneWay };

struct Link {
    uint8_t eid;
    Way way;
    int socket;
    std::string path;
    dev_t device;
    ino_t inode;
    int64_t checkedUs;
    int64_t sendLimitUs;     // the socket's for one send(); 0 for none
    int64_t receiveLimitUs;  // and for one recv()
    Receiver* receiver;      // the thread's
    recorder::Trip last;     // what was sent last
};

// The calling thread's link, as long as it can be trusted at that time to lead to the endpoint's newest server; else
// null.
Link* cachedLink(uint8_t eid, Way way, int64_t nowUs);
// Connects anew: null with *code set.
Link* newLink(uint8_t eid, Way way, const Deadline& deadline, int* code);
// A link that is nobody's but the caller's, who closes its socket; connect() gives it one, or answers why not.
Link unconnected(uint8_t eid, Way way, Receiver* receiver);
int connect(Link& link, const Deadline& deadline);
void dropLink(uint8_t eid, Way way);

// Make one send() or recv() on the link end soon after the deadline at the latest.
void limitSend(Link& link, const Deadline& deadline);
void limitReceive(Link& link, const Deadline& deadline);

}  // namespace vcfg::bus
