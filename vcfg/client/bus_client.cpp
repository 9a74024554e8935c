#include "bus_client.h"

#include <pthread.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>

#include "client_log.h"
#include "link.h"
#include "monitors.h"

namespace vcfg::bus {
namespace {

uint32_t firstRequestId() {
    return static_cast<uint32_t>(monotonicUs()) ^ (static_cast<uint32_t>(getpid()) << 16);
}

std::atomic<uint32_t> lastRequestId{firstRequestId()};
// Two processes that ask as one endpoint must not use the same ids.
[[maybe_unused]] const int forkHandler = pthread_atfork(nullptr, nullptr, [] { lastRequestId = firstRequestId(); });

enum class Patience { Wait, None };

// 0, or the error number: ETIMEDOUT when the time was over. Only when there is no room at once the time matters.
int sendUntil(Link& link, const vcfg_msg_t& message, Patience patience, const Deadline& deadline) {
    int error = sendPacket(link.socket, message, MSG_DONTWAIT);
    while (error == EINTR || (error == EAGAIN && patience == Patience::Wait)) {
        if (error == EAGAIN && deadline.passed()) {
            return ETIMEDOUT;
        }
        limitSend(link, deadline);
        error = sendPacket(link.socket, message, patience == Patience::Wait ? 0 : MSG_DONTWAIT);
    }
    return error;
}

[[gnu::cold]] int codeOfSend(int error) {
    switch (error) {
        case EAGAIN:
            return VCFG_ERR_FULL;
        case ETIMEDOUT:
            return VCFG_ERR_TIMEOUT;
        case EPIPE:
        case ECONNRESET:
        case ENOTCONN:
        case ECONNREFUSED:
            return VCFG_ERR_NO_PEER;
        default:
            return VCFG_ERR_FAIL;
    }
}

int sendBy(Link& link, const vcfg_msg_t& message, Patience patience, const Deadline& deadline, int64_t nowUs) {
    const int error = sendUntil(link, message, patience, deadline);
    if (error == 0) {
        ++link.last.order;
        recorder::sent(message, link.last, nowUs);
        return VCFG_OK;
    }
    return codeOfSend(error);
}

[[gnu::cold]] void fails(const vcfg_msg_t& message, int code) {
    copyFailure(message, code);
    recorder::failed(message, code);
}

// A peer that went away since the last call gets one new connection.
[[gnu::cold]] int sendAnew(const vcfg_msg_t& message, Way way, Patience patience, const Deadline& deadline,
                           Link** link) {
    int code = VCFG_OK;
    dropLink(message.dstEid, way);
    *link = newLink(message.dstEid, way, deadline, &code);
    return *link != nullptr ? sendBy(**link, message, patience, deadline, monotonicUs()) : code;
}

// Sends by the thread's link, which *link is then. Who has none may come to the bus with this message.
int transmit(const vcfg_msg_t& message, Way way, Patience patience, const Deadline& deadline, Link** link) {
    const int64_t nowUs = monotonicUs();
    *link = cachedLink(message.dstEid, way, nowUs);
    if (*link == nullptr) {
        attachRoster();
    }
    copySent(way == Way::Request ? Passing::Call : Passing::Message, message);
    int code = *link != nullptr ? sendBy(**link, message, patience, deadline, nowUs) : VCFG_ERR_NO_PEER;
    if (code == VCFG_OK) {
        return code;
    }
    if (code == VCFG_ERR_NO_PEER) {
        code = sendAnew(message, way, patience, deadline, link);
    }
    if (code == VCFG_ERR_NO_PEER || (code != VCFG_OK && way == Way::Request)) {
        dropLink(message.dstEid, way);
    }
    if (code != VCFG_OK) {
        fails(message, code);
    }
    return code;
}

[[gnu::cold]] void failUnanswered(const Link& link, uint32_t requestId, int code) {
    vcfg_msg_t call{};
    call.dstEid = link.eid;
    call.requestId = requestId;
    fails(call, code);
}

// The next packet on a connection that this side may wait on.
int receiveUntil(Link& link, const Deadline& deadline, MessagePtr* message) {
    for (;;) {
        limitReceive(link, deadline);
        switch (link.receiver->receive(link.socket, 0, message)) {
            case Arrival::Message:
                return VCFG_OK;
            case Arrival::Nothing:
                if (deadline.passed()) {
                    return VCFG_ERR_TIMEOUT;
                }
                break;
            case Arrival::Closed:
                return VCFG_ERR_NO_PEER;
            case Arrival::Bad:
                CLIENT_LOG(VLOG_ERROR, "an answer is refused: %s", link.receiver->fault());
                return VCFG_ERR_FAIL;
        }
    }
}

// The answer with that id. Other packets that keep coming do not prolong the call.
int receiveAnswer(Link& link, uint32_t requestId, const Deadline& deadline, MessagePtr* reply) {
    int code = VCFG_OK;
    do {
        code = reply->get() != nullptr && deadline.passed() ? VCFG_ERR_TIMEOUT : receiveUntil(link, deadline, reply);
    } while (code == VCFG_OK && (*reply)->requestId != requestId);
    return code;
}

int awaitAnswer(Link& link, uint32_t requestId, const Deadline& deadline, MessagePtr* reply) {
    const int code = receiveAnswer(link, requestId, deadline, reply);
    if (code == VCFG_OK) {
        copyTaken(**reply);
    } else {
        failUnanswered(link, requestId, code);
        reply->reset();
        dropLink(link.eid, Way::Request);
    }
    return code;
}

}  // namespace

int deliver(const vcfg_msg_t& message, const Deadline& deadline) {
    Link* link = nullptr;
    const int code = transmit(message, Way::OneWay, Patience::Wait, deadline, &link);
    return code == VCFG_OK ? VCFG_DELIVERED : code;
}

int deliverNow(const vcfg_msg_t& message) {
    Link* link = nullptr;
    const int code = transmit(message, Way::OneWay, Patience::None, Deadline::in(1), &link);
    return code == VCFG_OK ? VCFG_DELIVERED : code == VCFG_ERR_TIMEOUT ? VCFG_ERR_FULL : code;
}

int call(const vcfg_msg_t& message, const Deadline& deadline, MessagePtr* reply) {
    Link* link = nullptr;
    const int code = transmit(message, Way::Request, Patience::Wait, deadline, &link);
    return code == VCFG_OK ? awaitAnswer(*link, message.requestId, deadline, reply) : code;
}

int call(MessagePtr message, const Deadline& deadline, MessagePtr* reply) {
    Link* link = nullptr;
    const int code = transmit(*message, Way::Request, Patience::Wait, deadline, &link);
    const uint32_t requestId = message->requestId;
    message.reset();
    return code == VCFG_OK ? awaitAnswer(*link, requestId, deadline, reply) : code;
}

int callBy(Link& link, const vcfg_msg_t& message, const Deadline& deadline, MessagePtr* reply) {
    attachRoster();
    copySent(Passing::Call, message);
    int code = connect(link, deadline);
    code = code == VCFG_OK ? sendBy(link, message, Patience::Wait, deadline, monotonicUs()) : code;
    code = code == VCFG_OK ? receiveAnswer(link, message.requestId, deadline, reply) : code;
    if (code != VCFG_OK) {
        fails(message, code);
    }
    return code;
}

int nextFrom(uint8_t eid, const Deadline& deadline, MessagePtr* message) {
    Link* link = cachedLink(eid, Way::Request, monotonicUs());
    if (link == nullptr) {
        return VCFG_ERR_NO_PEER;
    }
    const int code = receiveUntil(*link, deadline, message);
    if (code != VCFG_OK && code != VCFG_ERR_TIMEOUT) {
        dropLink(eid, Way::Request);
    }
    return code;
}

uint32_t freshRequestId() {
    uint32_t id = 0;
    while (id == 0) {
        id = lastRequestId.fetch_add(1, std::memory_order_relaxed) + 1;
    }
    return id;
}

}  // namespace vcfg::bus
