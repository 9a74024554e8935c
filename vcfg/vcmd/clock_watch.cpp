#include "clock_watch.h"

#include <sys/timerfd.h>
#include <time.h>
#include <unistd.h>

#include <cstdlib>
#include <limits>
#include <string>

#include "recorder/events.h"

namespace vcfg::vcmd {
namespace {

// A clock that is led slowly to the right time is not worth a word.
constexpr int64_t kJumpUs = 1000000;

int64_t readUs(clockid_t clock) {
    timespec time{};
    clock_gettime(clock, &time);
    return int64_t{time.tv_sec} * 1000000 + time.tv_nsec / 1000;
}

int64_t aheadUs() {
    return readUs(CLOCK_REALTIME) - readUs(CLOCK_BOOTTIME);
}

}  // namespace

// It never runs out: what it is for is that setting the clock cancels it.
void openClockWatch(ClockWatch& watch) {
    itimerspec never{};
    never.it_value.tv_sec = std::numeric_limits<time_t>::max();
    watch.news = Fd(timerfd_create(CLOCK_REALTIME, TFD_NONBLOCK | TFD_CLOEXEC));
    if (watch.news) {
        timerfd_settime(watch.news.get(), TFD_TIMER_ABSTIME | TFD_TIMER_CANCEL_ON_SET, &never, nullptr);
    }
    watch.aheadUs = aheadUs();
}

void lookAtClock(ClockWatch& watch) {
    uint64_t times = 0;
    if (watch.news && read(watch.news.get(), &times, sizeof times) > 0) {
        watch.news.reset();  // the end of time
    }
    const int64_t now = aheadUs();
    const int64_t jump = now - watch.aheadUs;
    if (std::llabs(jump) < kJumpUs) {
        return;
    }
    watch.aheadUs = now;
    recorder::note("clock", std::string("the clock was set ") + (jump > 0 ? "forward" : "back") + " by " +
                                std::to_string(std::llabs(jump) / kJumpUs) + " s");
}

}  // namespace vcfg::vcmd
