#include "remembered.h"

#include <algorithm>

namespace vcfgctl {
namespace {

bool isDaemons(json_object* line) {
    return textIn(line, "program") == "tarn";
}

// Of a question and of its answer.
std::string requestText(int64_t peer, json_object* line) {
    const int64_t id = numberIn(line, "id");
    return id == 0 ? "" : "request " + std::to_string(peer) + " " + std::to_string(id);
}

std::string deviceIn(json_object* line) {
    const std::string what = textIn(line, "what");
    return what.substr(0, what.find(':'));
}

}  // namespace

void Remembered::put(std::string subject, uint32_t event, bool isSubject) {
    if (!subject.empty()) {
        bySubject_[subject].push_back(facts_.size());
        facts_.push_back({std::move(subject), event, isSubject});
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
        put("message " + textIn(line, "type") + " " + textIn(line, "text"), 0, true);
        put(requestText(numberIn(line, "from"), line), 0, false);
        for (size_t each = first; each < facts_.size(); ++each) {
            messages_[bond.at].push_back(each);
        }
    } else if (bond.kind == "reply" && isDaemons(line)) {
        put(requestText(numberIn(line, "to"), line), bond.event, false);
    } else if (bond.kind == "timer") {
        put("timer " + textIn(line, "what"), bond.event, false);
    } else if (bond.kind == "kernel") {
        put("kernel " + deviceIn(line), bond.event, true);
    } else if (bond.kind == "command") {
        put("command " + textIn(line, "what"), bond.cause, true);
    }
}

// 0 when there is none, or it is the chain's own.
uint32_t Remembered::latest(size_t before, const Belonging& chain) const {
    const std::vector<size_t>& same = bySubject_.find(facts_[before].subject)->second;
    for (auto each = std::lower_bound(same.begin(), same.end(), before); each != same.begin();) {
        const uint32_t event = facts_[*--each].event;
        if (event != 0) {
            return chain.contains(event) ? 0 : event;
        }
    }
    return 0;
}

std::set<uint32_t> Remembered::behind(const Belonging& chain, bool alsoSubjects) const {
    std::set<uint32_t> events;
    for (size_t each = 0; each < facts_.size(); ++each) {
        const Fact& fact = facts_[each];
        if (fact.event != 0 && chain.contains(fact.event) && (alsoSubjects || !fact.isSubject)) {
            events.insert(latest(each, chain));
        }
    }
    events.erase(0);
    return events;
}

}  // namespace vcfgctl
