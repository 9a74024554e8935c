#include "routers.h"

#include <algorithm>
#include <climits>

#include "notice.h"

namespace {

constexpr size_t kMost = 16;  // anybody on the link may say that he is one

std::string forSeconds(unsigned seconds) {
    return std::to_string(seconds) + " s";
}

}  // namespace

void Routers::take(const Advertisement& advertisement, int64_t nowMs) {
    const std::string& name = advertisement.router;
    const unsigned lifetime = advertisement.lifetimeSeconds;
    const auto known = routers_.find(name);
    if (lifetime == 0) {
        if (known != routers_.end()) {
            routers_.erase(known);
            noticeTrouble(device_, "router " + name + " says that it is no default router any more");
        }
        return;
    }
    if (known == routers_.end() && routers_.size() == kMost) {
        return;
    }
    if (known == routers_.end() || known->second.lifetimeSeconds != lifetime) {
        noticeRelief(device_, "router " + name + " advertises itself as a default router, for " + forSeconds(lifetime));
    }
    routers_[name] = {nowMs + int64_t{lifetime} * 1000, lifetime};
}

void Routers::look(int64_t nowMs) {
    for (auto each = routers_.begin(); each != routers_.end();) {
        if (each->second.endMs > nowMs) {
            ++each;
            continue;
        }
        noticeTrouble(device_, "router " + each->first + " is not heard any more, and the " +
                                   forSeconds(each->second.lifetimeSeconds) + " of its last advertisement are over");
        each = routers_.erase(each);
    }
}

int Routers::remainingMs(int64_t nowMs) const {
    int64_t remaining = INT_MAX;
    for (const auto& [name, router] : routers_) {
        remaining = std::min(remaining, std::max<int64_t>(router.endMs - nowMs, 0));
    }
    return routers_.empty() ? -1 : static_cast<int>(remaining);
}
