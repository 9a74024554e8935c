// The bus operations of <vcfg/msg.h> and <vcfg/loop.h>.
#include <vcfg/loop.h>
#include <vcfg/msg.h>

#include <climits>
#include <utility>

#include "bus_client.h"
#include "endpoint.h"
#include "guarded.h"

namespace vcfg {
namespace {

using bus::MessagePtr;

int receiveMessage(vcfg_msg_t** message, uint32_t timeoutMs) {
    const Reception own = reception();
    if (message == nullptr || own.server == nullptr) {
        return VCFG_ERR_INVALID;
    }
    *message = nullptr;
    const int limit = timeoutMs == 0 ? -1 : timeoutMs > INT_MAX ? INT_MAX : static_cast<int>(timeoutMs);
    int code = VCFG_OK;
    *message = own.server->wait(limit, own.lastFrom, &code).release();
    return *message != nullptr ? VCFG_OK : code;
}

int tryReceive(vcfg_msg_t** message) {
    const Reception own = reception();
    if (message == nullptr || own.server == nullptr) {
        return VCFG_ERR_INVALID;
    }
    *message = own.server->receive(own.lastFrom).release();
    return *message != nullptr ? VCFG_OK : VCFG_ERR_TIMEOUT;
}

int reply(const vcfg_msg_t& answer) {
    const int code = answerRequester(answer);
    if (code != VCFG_ERR_NO_PEER || answer.dstEid == 0) {
        return code;
    }
    const int delivered = bus::deliverNow(answer);
    return delivered == VCFG_DELIVERED ? VCFG_OK : delivered;
}

int exchange(MessagePtr message, vcfg_msg_t** answer, uint32_t timeoutMs) {
    if (message->dstEid == 0) {
        return VCFG_ERR_INVALID;
    }
    const Deadline deadline = Deadline::ofCall(timeoutMs);
    if (answer == nullptr) {
        return bus::deliver(*message, deadline);
    }
    if (message->srcEid == 0) {
        message->srcEid = threadEid();
    }
    if (message->requestId == 0) {
        message->requestId = bus::freshRequestId();
    }
    MessagePtr received;
    const int code = bus::call(std::move(message), deadline, &received);
    *answer = received.release();
    return code;
}

}  // namespace

}  // namespace vcfg

int vcfg_msg_eidInit(uint8_t eid, const char* name) {
    return vcfg::guarded([=] { return vcfg::registerEndpoint(eid, name); });
}

int vcfg_msg_serverInit(void) {
    return vcfg::guarded([] { return vcfg::openServer(); });
}

int vcfg_msg_serverRecv(vcfg_msg_t** msg, uint32_t timeoutMs) {
    return vcfg::guarded([=] { return vcfg::receiveMessage(msg, timeoutMs); });
}

int vcfg_msg_serverTryRecv(vcfg_msg_t** msg) {
    return vcfg::guarded([=] { return vcfg::tryReceive(msg); });
}

int vcfg_msg_fd(void) {
    vcfg::bus::Server* server = vcfg::reception().server;
    return server != nullptr ? server->pollFd() : -1;
}

int vcfg_msg_serverSend(vcfg_msg_t* msg) {
    const vcfg::bus::MessagePtr own(msg);
    return vcfg::guarded([&] { return own == nullptr ? VCFG_ERR_INVALID : vcfg::reply(*own); });
}

int vcfg_msg_sendAndGetReply(vcfg_msg_t* msg, vcfg_msg_t** reply, uint32_t timeoutMs) {
    vcfg::bus::MessagePtr own(msg);
    if (reply != nullptr) {
        *reply = nullptr;
    }
    return vcfg::guarded(
        [&] { return own == nullptr ? VCFG_ERR_INVALID : vcfg::exchange(std::move(own), reply, timeoutMs); });
}
