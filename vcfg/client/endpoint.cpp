#include "endpoint.h"

#include <array>
#include <atomic>
#include <cerrno>
#include <mutex>
#include <set>

#include "model_fits.h"
#include "roster.h"
#include "run_dir.h"

namespace vcfg {
namespace {

using bus::ConnectionId;
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

}  // namespace

int registerEndpoint(uint8_t eid, const char* name) {
    if (eid == 0 || !modelFits()) {
        return VCFG_ERR_INVALID;
    }
    const int code = bus::checkRunDirectory();
    if (code != VCFG_OK) {
        return code;
    }
    bus::attachRoster();
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

Reception reception() {
    Thread& thread = self;
    return {serverOf(thread), &thread.lastFrom};
}

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
