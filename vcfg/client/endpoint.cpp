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
constinit std::array<std::atomic<Server*>, 256> servers{};
constinit std::array<std::atomic<const std::string*>, 256> names{};
constinit std::atomic<uint8_t> first{0};
constinit std::mutex opening;  // of servers, and the naming

// Kept, for a thread that is just logging with one.
const std::string* keptName(const char* name) {
    static std::set<std::string>& all = *new std::set<std::string>;
    return &*all.emplace(name).first;
}

struct Thread {
    uint8_t eid = 0;
    // Where its last message came from, to tell requesters with equal ids apart.
    ConnectionId lastFrom = 0;
};
[[gnu::tls_model("initial-exec")]] constinit thread_local Thread self;

uint8_t eidOf(const Thread& thread) {
    return thread.eid != 0 ? thread.eid : first.load(std::memory_order_relaxed);
}

Server* serverOf(const Thread& thread) {
    return servers[eidOf(thread)].load(std::memory_order_acquire);
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
        const std::lock_guard guard(opening);
        names[eid].store(keptName(name), std::memory_order_release);
    }
    uint8_t none = 0;
    first.compare_exchange_strong(none, eid);
    self.eid = eid;
    return VCFG_OK;
}

int openServer() {
    const uint8_t eid = threadEid();
    if (eid == 0) {
        return VCFG_ERR_INVALID;
    }
    const std::lock_guard guard(opening);
    std::unique_ptr<Server> inherited(serverOf(self));
    if (inherited != nullptr && inherited->isOwn()) {
        return inherited.release()->reopen();
    }
    int code = VCFG_ERR_FAIL;
    std::unique_ptr<Server> server = Server::open(eid, &code);
    servers[eid].store(server.release(), std::memory_order_release);
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
    for (const uint8_t eid : {self.eid, first.load(std::memory_order_relaxed)}) {
        if (const std::string* name = names[eid].load(std::memory_order_acquire); name != nullptr) {
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
    for (const auto& each : servers) {
        Server* server = each.load(std::memory_order_acquire);
        if (server != nullptr && server != own && server->answerRequester(answer, 0, &code)) {
            break;
        }
    }
    return code;
}

}  // namespace vcfg
