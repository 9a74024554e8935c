// Who sets the clock tells nobody: it is noticed, and told to the flight recorder, since times that people read next
// to each other are then no longer of one clock.
#pragma once

#include <cstdint>

#include "fd.h"

namespace vcfg::vcmd {

struct ClockWatch {
    Fd news;              // can be read when somebody has set the clock
    int64_t aheadUs = 0;  // of the time since the machine was started
};

void openClockWatch(ClockWatch& watch);
void lookAtClock(ClockWatch& watch);

}  // namespace vcfg::vcmd
