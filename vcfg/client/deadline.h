// The end of a call's time.
#pragma once

#include <climits>
#include <cstdint>

#include "store/clock.h"

namespace vcfg {

class Deadline {
  public:
    static Deadline never() { return {INT64_MAX, INT64_MAX}; }
    static Deadline in(uint32_t milliseconds) {
        const int64_t span = int64_t{milliseconds} * 1000;
        return {monotonicUs() + span, span};
    }
    // As the bus operations take it: 0 is without limit.
    static Deadline ofCall(uint32_t timeoutMs) { return timeoutMs == 0 ? never() : in(timeoutMs); }

    bool isNever() const { return us_ == INT64_MAX; }
    bool passed() const { return !isNever() && monotonicUs() >= us_; }
    // All the time that there was at first.
    int64_t spanUs() const { return spanUs_; }
    int64_t remainingUs() const {
        const int64_t left = us_ - monotonicUs();
        return left > 0 ? left : 0;
    }
    // For poll and epoll: rounded up, -1 without limit.
    int remainingMs() const { return isNever() ? -1 : milliseconds(remainingUs()); }

  private:
    [[gnu::noinline]] static int milliseconds(int64_t us) {
        const int64_t rounded = (us + 999) / 1000;
        return rounded > INT_MAX ? INT_MAX : static_cast<int>(rounded);
    }

    Deadline(int64_t us, int64_t spanUs) : us_(us), spanUs_(spanUs) {}

    int64_t us_;
    int64_t spanUs_;
};

}  // namespace vcfg
