#include "chains.h"

#include <algorithm>

namespace vcfgctl {
namespace {

// What nobody receives is forgotten, and so is what happened long ago.
constexpr size_t kMostWaiting = 4096;
constexpr size_t kMostBehind = 65536;

bool isSame(const vcfg_msg_t& left, const vcfg_msg_t& right) {
    return left.type == right.type && left.srcEid == right.srcEid && left.dstEid == right.dstEid &&
           left.requestId == right.requestId && left.length == right.length;
}

}  // namespace

void Chains::sent(const Copy& message, bool isShown) {
    if (waiting_.size() == kMostWaiting) {
        waiting_.pop_front();
    }
    waiting_.push_back({*message.message, {message.timeUs, message.event, isShown}});
}

std::optional<Chains::Sent> Chains::received(const vcfg_msg_t& envelope, uint32_t event) {
    const auto found = std::find_if(waiting_.begin(), waiting_.end(),
                                    [&](const Waiting& one) { return isSame(one.envelope, envelope); });
    if (found == waiting_.end()) {
        return std::nullopt;
    }
    const Sent sent = found->sent;
    waiting_.erase(found);
    if (behind_.size() == kMostBehind) {
        behind_.clear();
    }
    if (sent.event != 0) {
        behind_[event] = sent.event;
    }
    return sent;
}

uint32_t Chains::behind(uint32_t event) const {
    const auto found = behind_.find(event);
    return found == behind_.end() ? event : found->second;
}

}  // namespace vcfgctl
