// The answering of an endpoint's server: by the connection that the request came by, without waiting for its reader.
#include <sys/socket.h>

#include <cerrno>

#include "client_log.h"
#include "deadline.h"
#include "endpoint_server.h"
#include "monitors.h"

namespace vcfg::bus {

int EndpointServer::answer(ConnectionId to, const vcfg_msg_t& message) {
    const std::lock_guard guard(mutex_);
    Connection* connection = connections_.find(to);
    return connection != nullptr ? sendAnswer(*connection, message) : VCFG_ERR_NO_PEER;
}

bool EndpointServer::answerRequester(const vcfg_msg_t& message, ConnectionId preferred, int* code) {
    const std::lock_guard guard(mutex_);
    Connection* connection = connections_.requester(message.dstEid, message.requestId, preferred);
    if (connection == nullptr) {
        return false;
    }
    *code = sendAnswer(*connection, message);
    return true;
}

int EndpointServer::sendAnswer(Connection& connection, const vcfg_msg_t& message) {
    connections_.answered(connection, message);
    const int64_t sentUs = isWatched() ? monotonicUs() : 0;
    const int error = sendPacket(connection.socket, message, MSG_DONTWAIT);
    turns_.endOf(connection.id);
    if (error == 0) {
        // Not one that nobody waits for: it goes on as a message.
        if (sentUs != 0) {
            copyToMonitors(Passing::Answer, message, VCFG_OK, sentUs);
        }
        recorder::answered(message);
    }
    if (connection.drained && !connection.owesAnswer()) {
        connections_.close(connection.id);
        return error == 0 ? VCFG_OK : VCFG_ERR_NO_PEER;
    }
    return error == 0 ? VCFG_OK : cannotAnswer(connection, message, error);
}

// Who waits is told; what it sent before is still received.
int EndpointServer::cannotAnswer(const Connection& connection, const vcfg_msg_t& message, int error) {
    shutdown(connection.socket, SHUT_RDWR);
    if (error == EAGAIN) {
        CLIENT_LOG(VLOG_WARNING, "endpoint %u does not read its answers: its connection is closed", message.dstEid);
        copyFailure(message, VCFG_ERR_FULL);
        return VCFG_ERR_FULL;
    }
    return error == EPIPE || error == ECONNRESET || error == ENOTCONN ? VCFG_ERR_NO_PEER : VCFG_ERR_FAIL;
}

}  // namespace vcfg::bus
