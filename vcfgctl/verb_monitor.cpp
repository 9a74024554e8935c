#include <algorithm>
#include <climits>
#include <csignal>
#include <cstdio>
#include <set>

#include "ask.h"
#include "client/deadline.h"
#include "names.h"
#include "options.h"
#include "passage_print.h"
#include "passing.h"
#include "secret.h"
#include "verb.h"

namespace vcfgctl {
namespace {

namespace bus = vcfg::bus;

// Copies come by several connections: each is held back so long, for those sent before it.
constexpr int64_t kHoldUs = 5000;
constexpr int kHoldMs = 5;
constexpr size_t kMostHeld = 4096;
constexpr int kIdleMs = 1000;
constexpr int kLastRounds = 64;

struct Watching {
    std::set<uint8_t> eids;    // all when empty
    std::set<uint32_t> types;  // all when empty
    uint64_t count = 0;        // 0: without end
    uint64_t timeoutMs = 0;
};

int takeOptions(const Call& call, Watching& watching) {
    if (!call.operands.empty()) {
        return wrongUsage(call, "takes no argument; what is to be seen goes behind --endpoint and --type");
    }
    for (const auto& [name, value] : call.options) {
        uint8_t eid = 0;
        uint32_t type = 0;
        if (name == "endpoint" ? !endpointOption(call, name, value, &eid)
                               : name == "type" && !typeOption(call, value, &type)) {
            return kWrongUsage;
        }
        if (name == "endpoint") {
            watching.eids.insert(eid);
        } else if (name == "type") {
            watching.types.insert(type);
        }
    }
    return numberOption(call, "count", UINT32_MAX, &watching.count) &&
                   numberOption(call, "timeout", UINT32_MAX, &watching.timeoutMs)
               ? kDone
               : kWrongUsage;
}

// An answer is shown with what it answers.
bool isWanted(const Watching& watching, const Passage& passage) {
    const vcfg_msg_t& message = *passage.copy.message;
    const bool ofEndpoint =
        watching.eids.empty() || watching.eids.contains(message.srcEid) || watching.eids.contains(message.dstEid);
    const bool ofType = watching.types.empty() || watching.types.contains(message.type) ||
                        (passage.tookUs && watching.types.contains(passage.request));
    return ofEndpoint && ofType;
}

class Monitor {
  public:
    Monitor(const Call& call, const Watching& watching)
        : call_(call),
          watching_(watching),
          deadline_(vcfg::Deadline::ofCall(static_cast<uint32_t>(watching.timeoutMs))) {}

    int run() {
        std::string why;
        if (!onlooker_.open(false, &why)) {
            return refuse(why);
        }
        for (;;) {
            const Onlooker::Woken woken = onlooker_.wait(patienceMs(), &held_);
            tellLost();
            if (woken == Onlooker::Woken::BySignal) {
                takeRest();
            }
            release(woken == Onlooker::Woken::BySignal ? 0 : kHoldUs);
            if (!outputTakes() || woken == Onlooker::Woken::ByClosedOutput) {
                return outputRefuses();
            }
            if (woken == Onlooker::Woken::BySignal || isComplete()) {
                return kDone;
            }
            if (deadline_.passed()) {
                return watching_.count == 0 ? kDone
                                            : refuse("the time is up; " + std::to_string(shown_) + " of " +
                                                     std::to_string(watching_.count) + " messages have come");
            }
        }
    }

  private:
    bool isComplete() const { return watching_.count != 0 && shown_ >= watching_.count; }

    int patienceMs() const {
        const int patience = held_.empty() ? kIdleMs : kHoldMs;
        return deadline_.isNever() ? patience : std::min(patience, deadline_.remainingMs());
    }

    void tellLost() {
        const uint32_t lost = onlooker_.takeLost();
        if (lost != 0) {
            printLost(lost, call_.json);
        }
    }

    // What has come before the end is shown; a bus that is never silent does not put the end off.
    void takeRest() {
        size_t before = 0;
        for (int each = 0; each < kLastRounds && (each < 2 || held_.size() > before); ++each) {
            before = held_.size();
            onlooker_.wait(0, &held_);
        }
        tellLost();
    }

    void release(int64_t holdUs) {
        const auto earlier = [](const Copy& left, const Copy& right) { return left.timeUs < right.timeUs; };
        std::stable_sort(held_.begin(), held_.end(), earlier);
        const int64_t ripe = vcfg::monotonicUs() - holdUs;
        const bool hasRoom = held_.size() < kMostHeld;
        auto end = held_.begin();
        while (end != held_.end() && (!hasRoom || end->timeUs <= ripe)) {
            show(std::move(*end++));
        }
        held_.erase(held_.begin(), end);
        fflush(stdout);
    }

    void show(Copy copy) {
        const Passage passage = passages_.take(std::move(copy));
        if (!isComplete() && isWanted(watching_, passage)) {
            printPassage(passage, call_.json, call_.option(kShowSecrets.name) != nullptr);
            ++shown_;
        }
    }

    const Call& call_;
    const Watching& watching_;
    const vcfg::Deadline deadline_;
    Onlooker onlooker_;
    Passages passages_;
    std::vector<Copy> held_;
    uint64_t shown_ = 0;
};

}  // namespace

int runMonitor(const Call& call) {
    Watching watching;
    int status = takeOptions(call, watching);
    if (status == kDone) {
        status = joinBus(call.runDir);
    }
    std::signal(SIGPIPE, SIG_IGN);
    return status == kDone ? Monitor(call, watching).run() : status;
}

}  // namespace vcfgctl
