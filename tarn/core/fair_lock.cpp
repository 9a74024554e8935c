#include "core/fair_lock.h"

void FairLock::lock() {
    std::unique_lock lock(guard_);
    if (holder_ != std::this_thread::get_id()) {
        const uint32_t ticket = tickets_++;
        moved_.wait(lock, [&] { return turn_ == ticket; });
        holder_ = std::this_thread::get_id();
    }
    ++depth_;
}

uint32_t FairLock::waiting() {
    const std::lock_guard lock(guard_);
    return tickets_ - turn_ - (depth_ > 0 ? 1 : 0);
}

void FairLock::unlock() {
    const std::lock_guard lock(guard_);
    if (--depth_ == 0) {
        holder_ = {};
        ++turn_;
        moved_.notify_all();
    }
}
