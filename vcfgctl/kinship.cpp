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

Kinship::Family Kinship::of(uint32_t event) const {
    Family family;
    std::vector<uint32_t> fresh;
    const auto take = [&](uint32_t each) {
        if (each != 0 && family.events.insert(each).second) {
            fresh.push_back(each);
        }
    };
    family.events.insert(event);
    fresh.push_back(event);
    while (!fresh.empty()) {
        const uint32_t next = fresh.back();
        fresh.pop_back();
        for (const uint32_t child : at(begun_, next)) {
            take(child);
        }
        for (const int64_t message : at(messages_, next)) {
            if (family.messages.insert(message).second) {
                for (const uint32_t receiver : at(received_, message)) {
                    take(receiver);
                }
            }
        }
    }
    return family;
}

}  // namespace vcfgctl
