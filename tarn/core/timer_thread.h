// The timer thread: takes requests off its socket, ticks, and sends what is due.
#pragma once

#include <optional>
#include <string>

#include "core/timer_tasks.h"

// Body of the thread; ends only when its socket cannot be opened.
void timer_thread(void*);

// One round of it: waits for a request or for the next tick, and does what came.
void timerRound(int listening, Timer& timer);

// Takes one request off the listening socket: its text, or nothing. A client has one second to hand it over.
std::optional<std::string> tarnTmTaskReceiveMsg(int listening);

// Sends the task's message to the daemon's own endpoint: the bus result, 5 for a task without a message type, -5 when
// memory is short.
int tmApplyObjSendMsg(const TimerTask& task);
