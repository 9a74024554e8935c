// The receiving of an endpoint's server: one epoll_wait() for whatever is ready, one recv() for each message.
#include <sys/socket.h>

#include <cerrno>

#include "client_log.h"
#include "deadline.h"
#include "endpoint_server.h"

namespace vcfg::bus {

MessagePtr EndpointServer::receive(ConnectionId* from) {
    recorder::askedForNext();
    const std::lock_guard guard(mutex_);
    Ready ready;
    ready.count = 0;
    MessagePtr message = next(ready, from);
    // Accepting a connection is progress without a message; its first packet may wait behind it.
    for (int round = 0; message == nullptr && round < 4 && await(ready, 0) && ready.count > 0; ++round) {
        message = next(ready, from);
    }
    return message;
}

MessagePtr EndpointServer::wait(int timeoutMs, ConnectionId* from, int* code) {
    recorder::askedForNext();
    const Deadline deadline = timeoutMs < 0 ? Deadline::never() : Deadline::in(static_cast<uint32_t>(timeoutMs));
    Ready ready;
    ready.count = 0;
    for (;;) {
        if (ready.count > 0 || !turns_.isEmpty()) {
            const std::lock_guard guard(mutex_);
            MessagePtr message = next(ready, from);
            if (message != nullptr) {
                return message;
            }
        }
        if (!await(ready, deadline.remainingMs())) {
            *code = VCFG_ERR_FAIL;
            return nullptr;
        }
        if (ready.count == 0 && deadline.passed()) {
            *code = VCFG_ERR_TIMEOUT;
            return nullptr;
        }
    }
}

bool EndpointServer::await(Ready& ready, int timeoutMs) const {
    const int count = epoll_wait(epoll_, ready.events.data(), static_cast<int>(ready.events.size()), timeoutMs);
    ready.count = count < 0 ? 0 : count;
    return count >= 0 || errno == EINTR;
}

MessagePtr EndpointServer::next(const Ready& ready, ConnectionId* from) {
    for (int each = 0; each < ready.count; ++each) {
        turns_.add(ready.events[static_cast<size_t>(each)].data.u64);
    }
    MessagePtr message;
    while (message == nullptr && !turns_.isEmpty()) {
        message = takeTurn(turns_.current(), from);
    }
    return message;
}

MessagePtr EndpointServer::takeTurn(ConnectionId ready, ConnectionId* from) {
    Connection* connection = connections_.find(ready);
    if (connection != nullptr) {
        return takeFrom(*connection, from);
    }
    turns_.end();
    if (ready == kListener) {
        acceptWaiting();
    } else if (ready == kSocketFile) {
        lookAtSocket();
    }
    return nullptr;
}

MessagePtr EndpointServer::takeFrom(Connection& connection, ConnectionId* from) {
    MessagePtr message;
    const Arrival arrival = receiver_.receive(connection.socket, MSG_DONTWAIT, &message);
    if (arrival != Arrival::Message) {
        endTurn(connection, arrival, receiver_.fault());
        return nullptr;
    }
    if (!connections_.note(connection, *message)) {
        endTurn(connection, Arrival::Bad, "it repeats the id of a request that somebody else waits on");
        return nullptr;
    }
    if (from != nullptr) {
        *from = connection.id;
    }
    turns_.take();
    ++connection.last.order;
    recorder::received(*message, connection.last);
    return message;
}

void EndpointServer::endTurn(Connection& connection, Arrival why, const char* fault) {
    turns_.end();
    if (why == Arrival::Bad) {
        CLIENT_LOG(VLOG_ERROR, "endpoint %u refuses a packet: %s", eid_, fault);
    }
    if (why == Arrival::Closed && connection.leaving && connection.owesAnswer()) {
        connection.drained = true;
        epoll_ctl(epoll_, EPOLL_CTL_DEL, connection.socket, nullptr);
    } else if (why != Arrival::Nothing) {
        connections_.close(connection.id);
    }
}

}  // namespace vcfg::bus
