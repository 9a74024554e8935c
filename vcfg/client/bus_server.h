// The receiving side of one endpoint. vcfg_msg_serverRecv and vcfg_msg_serverSend stand on it, and so does vcmd, which
// has its own event loop. All may be called from several threads at once.
#pragma once

#include <vcfg/msg.h>

#include <cstdint>
#include <memory>

#include "free.h"

namespace vcfg::bus {

using MessagePtr = std::unique_ptr<vcfg_msg_t, Free>;

// Names the connection that a message came by, for as long as the server lives; 0 is none. Never used twice.
using ConnectionId = uint64_t;

class Server {
  public:
    // Opens `<run dir>/eid-<eid>`; takes the endpoint over from a process that serves it. Null with *code set.
    static std::unique_ptr<Server> open(uint8_t eid, int* code);
    virtual ~Server() = default;

    // False in a child of the process that opened it: what both share would be taken by either.
    virtual bool isOwn() const = 0;
    // Takes the endpoint back when another process has taken it over meanwhile; nothing happens when none has.
    virtual int reopen() = 0;
    // True once another process has taken the endpoint over. A socket that was only removed is made anew by receive()
    // and wait().
    virtual bool isSuperseded() const = 0;

    // Readable when receive() has something to do; for poll and epoll.
    virtual int pollFd() = 0;
    // The next message, without blocking; null when there is none now. Connections are accepted, checked and closed,
    // and bad packets refused and logged, inside. `from` (may be null) names the connection.
    virtual MessagePtr receive(ConnectionId* from) = 0;
    // Whether it is known already that receive() has more to do; what is not known, pollFd() tells.
    virtual bool hasMore() const = 0;
    // As receive(), waiting up to `timeoutMs` (negative: without limit); null with *code VCFG_ERR_TIMEOUT or
    // VCFG_ERR_FAIL.
    virtual MessagePtr wait(int timeoutMs, ConnectionId* from, int* code) = 0;
    // Answers on that connection, without blocking: VCFG_ERR_NO_PEER when it is gone or its owner does not take
    // answers, VCFG_ERR_FULL when its owner does not read, after which it is closed.
    virtual int answer(ConnectionId to, const vcfg_msg_t& message) = 0;
    // Answers by the connection that a requester waits on, named by what its request said: *code as of answer(). False
    // when there is none. When there are several it is `preferred`, else the latest.
    virtual bool answerRequester(const vcfg_msg_t& message, ConnectionId preferred, int* code) = 0;
    virtual bool isOpen(ConnectionId connection) = 0;
    virtual void close(ConnectionId connection) = 0;
};

}  // namespace vcfg::bus
