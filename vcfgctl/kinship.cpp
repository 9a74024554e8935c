#include "kinship.h"

namespace vcfgctl {
namespace {

template <class Key, class Value>
const std::vector<Value>& at(const std::map<Key, std::vector<Value>>& all, Key key) {
    static const std::vector<Value> none;
    const auto found = all.find(key);
    return found != all.end() ? found->second : none;
}

}  // namespace

void Kinship::learn(const Bond& line) {
    begun_[line.cause].push_back(line.event);
    if (line.kind == "received") {
        messages_[line.event].push_back(line.of);
        received_[line.of].push_back(line.event);
    } else if (line.isMessage()) {
        messages_[line.event].push_back(line.at);
    }
}

Belonging Kinship::of(const std::set<uint32_t>& roots) const {
    std::set<uint32_t> events = roots;
    std::set<int64_t> messages;
    std::vector<uint32_t> fresh(roots.begin(), roots.end());
    const auto take = [&](uint32_t each) {
        if (each != 0 && events.insert(each).second) {
            fresh.push_back(each);
        }
    };
    while (!fresh.empty()) {
        const uint32_t next = fresh.back();
        fresh.pop_back();
        for (const uint32_t child : at(begun_, next)) {
            take(child);
        }
        for (const int64_t message : at(messages_, next)) {
            if (messages.insert(message).second) {
                for (const uint32_t receiver : at(received_, message)) {
                    take(receiver);
                }
            }
        }
    }
    return {std::move(events), std::move(messages)};
}

}  // namespace vcfgctl
