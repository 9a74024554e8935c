#include "remembered.h"

#include <algorithm>

namespace vcfgctl {
namespace {

bool isDaemons(json_object* line) {
    return textIn(line, "program") == "tarn";
}

// All link events, and messages that bring nobody's news but have the daemon look.
constexpr const char* kLook = "look";

// Of a question and of its answer.
std::string requestText(int64_t peer, json_object* line) {
    const int64_t id = numberIn(line, "id");
    return id == 0 ? "" : "request " + std::to_string(peer) + " " + std::to_string(id);
}

// It says nothing but that there is something to look at.
bool isBare(json_object* line) {
    return textIn(line, "text").empty() && textIn(line, "hex").empty();
}

}  // namespace

void Remembered::put(std::string subject, uint32_t event) {
    if (!subject.empty()) {
        const bool looksAtLinks = subject == kLook;
        bySubject_[subject].push_back(facts_.size());
        facts_.push_back({std::move(subject), event, looksAtLinks});
    }
}

void Remembered::learnStart(const Bond& bond, json_object* line) {
    const bool isOwnThread = bond.kind == "thread" && bond.cause == 0;
    if ((isStarting_ || isOwnThread) && bond.event != 0 && isDaemons(line)) {
        start_.insert(bond.event);
        isStarting_ = isStarting_ && bond.kind != "kernel" && bond.kind != "received";
    }
}

void Remembered::learn(const Bond& bond, json_object* line) {
    learnStart(bond, line);
    if (bond.kind == "received" && isDaemons(line)) {
        for (const size_t each : messages_[bond.of]) {
            facts_[each].event = bond.event;
        }
    } else if (bond.isMessage()) {
        const size_t first = facts_.size();
        put(isBare(line) ? kLook : "", 0);
        put(requestText(numberIn(line, "from"), line), 0);
        for (size_t each = first; each < facts_.size(); ++each) {
            messages_[bond.at].push_back(each);
        }
    } else if (bond.kind == "reply" && isDaemons(line)) {
        put(requestText(numberIn(line, "to"), line), bond.event);
    } else if (bond.kind == "timer") {
        put("timer " + textIn(line, "what"), bond.event);
    } else if (bond.kind == "kernel") {
        put(kLook, bond.event);
    }
}

// 0 when there is none, or it is the chain's own.
uint32_t Remembered::latest(const std::string& subject, size_t before, const Belonging& chain) const {
    const std::vector<size_t>& same = bySubject_.find(subject)->second;
    for (auto each = std::lower_bound(same.begin(), same.end(), before); each != same.begin();) {
        const uint32_t event = facts_[*--each].event;
        if (event != 0) {
            return chain.contains(event) ? 0 : event;
        }
    }
    return 0;
}

// Who looks at one link looks at all, and compares them with what was there when it looked before.
std::set<uint32_t> Remembered::looksBefore(const Belonging& chain) const {
    std::vector<uint32_t> looks;
    size_t before = 0;  // the chain's last one
    for (const Fact& fact : facts_) {
        if (fact.looksAtLinks && chain.contains(fact.event)) {
            before = looks.size();
        } else if (fact.looksAtLinks) {
            looks.push_back(fact.event);
        }
    }
    return {looks.begin(), looks.begin() + static_cast<ptrdiff_t>(before)};
}

std::set<uint32_t> Remembered::behind(const Belonging& chain) const {
    std::set<uint32_t> events;
    for (size_t each = 0; each < facts_.size(); ++each) {
        const Fact& fact = facts_[each];
        if (fact.event != 0 && !fact.looksAtLinks && chain.contains(fact.event)) {
            events.insert(latest(fact.subject, each, chain));
        }
    }
    events.merge(looksBefore(chain));
    events.erase(0);
    return events;
}

}  // namespace vcfgctl
