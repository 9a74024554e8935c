// The bus operations of <vcfg/msg.h> and <vcfg/loop.h>.
#include <vcfg/loop.h>
#include <vcfg/msg.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <climits>
#include <mutex>
#include <set>
#include <string>
#include <utility>

#include "bus_client.h"
#include "client_log.h"
#include "endpoint.h"
#include "guarded.h"
#include "model_fits.h"
#include "run_dir.h"

namespace vcfg {
namespace {

using bus::ConnectionId;
using bus::MessagePtr;
using bus::Server;

// Endpoints live as long as the process: other threads may be using them at any moment.
struct Endpoints {
    std::array<std::atomic<Server*>, 256> servers{};
    std::array<std::atomic<const std::string*>, 256> names{};
    std::atomic<uint8_t> first{0};
    std::set<std::string> allNames;  // kept, for a thread that is just logging with one
    std::mutex opening;              // guards allNames and the opening of servers
};

Endpoints& endpoints() {
    static Endpoints& all = *new Endpoints;
    return all;
}

struct Thread {
    uint8_t eid = 0;
    // Where its last message came from, to tell requesters with equal ids apart.
    ConnectionId lastFrom = 0;
};
thread_local Thread self;

uint8_t eidOf(const Thread& thread) {
    return thread.eid != 0 ? thread.eid : endpoints().first.load(std::memory_order_relaxed);
}

Server* serverOf(const Thread& thread) {
    return endpoints().servers[eidOf(thread)].load(std::memory_order_acquire);
}

int registerEndpoint(uint8_t eid, const char* name) {
    if (eid == 0 || !modelFits()) {
        return VCFG_ERR_INVALID;
    }
    const int code = bus::checkRunDirectory();
    if (code != VCFG_OK) {
        return code;
    }
    if (name != nullptr) {
        const std::lock_guard guard(endpoints().opening);
        endpoints().names[eid].store(&*endpoints().allNames.emplace(name).first, std::memory_order_release);
    }
    uint8_t none = 0;
    endpoints().first.compare_exchange_strong(none, eid);
    self.eid = eid;
    return VCFG_OK;
}

int openServer() {
    const uint8_t eid = threadEid();
    if (eid == 0) {
        return VCFG_ERR_INVALID;
    }
    const std::lock_guard guard(endpoints().opening);
    std::unique_ptr<Server> inherited(serverOf(self));
    if (inherited != nullptr && inherited->isOwn()) {
        return inherited.release()->reopen();
    }
    int code = VCFG_ERR_FAIL;
    std::unique_ptr<Server> server = Server::open(eid, &code);
    endpoints().servers[eid].store(server.release(), std::memory_order_release);
    return code;
}

int receiveMessage(vcfg_msg_t** message, uint32_t timeoutMs) {
    Thread& thread = self;
    Server* server = serverOf(thread);
    if (message == nullptr || server == nullptr) {
        return VCFG_ERR_INVALID;
    }
    *message = nullptr;
    const int limit = timeoutMs == 0 ? -1 : timeoutMs > INT_MAX ? INT_MAX : static_cast<int>(timeoutMs);
    int code = VCFG_OK;
    *message = server->wait(limit, &thread.lastFrom, &code).release();
    return *message != nullptr ? VCFG_OK : code;
}

int tryReceive(vcfg_msg_t** message) {
    Thread& thread = self;
    Server* server = serverOf(thread);
    if (message == nullptr || server == nullptr) {
        return VCFG_ERR_INVALID;
    }
    *message = server->receive(&thread.lastFrom).release();
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

uint8_t threadEid() {
    return eidOf(self);
}

const char* daemonName() {
    for (const uint8_t eid : {self.eid, endpoints().first.load(std::memory_order_relaxed)}) {
        if (const std::string* name = endpoints().names[eid].load(std::memory_order_acquire); name != nullptr) {
            return name->c_str();
        }
    }
    return program_invocation_short_name;
}

int answerRequester(const vcfg_msg_t& answer) {
    int code = VCFG_ERR_NO_PEER;
    const Thread& thread = self;
    Server* own = serverOf(thread);
    if (own != nullptr && own->answerRequester(answer, thread.lastFrom, &code)) {
        return code;
    }
    for (auto& each : endpoints().servers) {
        Server* server = each.load(std::memory_order_acquire);
        if (server != nullptr && server != own && server->answerRequester(answer, 0, &code)) {
            break;
        }
    }
    return code;
}

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
    const vcfg::Server* server = vcfg::serverOf(vcfg::self);
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
