// The daemon's fair lock for threads that take turns: the same order, and a waiting thread gives its turn back.
#include "core/fair_lock.h"

#include "fiber.h"

namespace {

std::thread::id self() {
    return std::thread::id(sim::fibers::number() + 1);
}

}  // namespace

void FairLock::lock() {
    if (holder_ != self()) {
        const uint32_t ticket = tickets_++;
        if (turn_ != ticket) {
            sim::fibers::waitFor([this, ticket] { return turn_ == ticket; });
        }
        holder_ = self();
    }
    ++depth_;
}

uint32_t FairLock::waiting() {
    return tickets_ - turn_ - (depth_ > 0 ? 1 : 0);
}

void FairLock::unlock() {
    if (--depth_ == 0) {
        holder_ = {};
        ++turn_;
    }
}
