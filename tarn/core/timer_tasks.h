// The timer's tasks: what waits, how long still, and when the next tick comes. Nothing here waits, sends or asks for
// the time: requests and ticks come with the millisecond clock of their moment.
//
// While the timer is armed, one tick comes per interval and takes the interval off every task. It is armed when a task
// is added, and stands when a tick leaves nothing to wait for. A request disarms it unless it has been enabled, and an
// enabled one begins a whole new interval with each request.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

struct TimerTask {
    std::string name;
    int32_t exprTime;  // seconds left
    uint32_t msgType;  // of the message that it sends in the end; 0: none
    std::optional<std::string> msgParmData;
};

struct Timer {
    std::vector<TimerTask> tasks;  // in the order in which they came
    bool enabled = false;
    int32_t interval = 1;  // seconds, never negative; with 0 no task's time passes
    size_t pending = 0;    // tasks counted; one that replaced another is counted again until the next tick

    bool armed = false;
    uint64_t leftMs = 0;  // until the next tick, while armed
    uint32_t seenMs = 0;  // when that was so
};

// Does what a request's JSON text asks for; a text that is no JSON object changes nothing.
void handleTimerRequest(Timer& timer, const char* text, uint32_t nowMs);

// How long until the next tick, 0 when it is due; nothing while the timer stands. A clock that went back has not moved.
std::optional<uint64_t> msToTick(Timer& timer, uint32_t nowMs);

// One tick. The tasks whose time is over, which are in the timer no more.
std::vector<TimerTask> tick(Timer& timer, uint32_t nowMs);
