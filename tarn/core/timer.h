// Work for later: a named task that posts a message to the daemon itself when its time is over. The tasks are kept by
// the timer thread; the other threads hand them over through a local socket.
#pragma once

#include <cstdint>

inline constexpr const char* kTarnInternalIpc = "/tmp/tarn_internal";

// Starts the timer thread; the daemon goes on without it when it does not start, which is logged.
void enable_timer_thread();

// Adds the task, or replaces the one of that name: in `exprTime` seconds a message of that type, with the text (may be
// null) as its payload. 1, or -1 when it could not be handed over; 0 without a name, a time or a type, which asks for
// nothing.
int32_t tarnApplyAddObjectTmTask(const char* name, int32_t exprTime, int32_t msg_type, const char* msgParmData);
// Takes the task back. 1 or -1; 0 without a name.
int32_t tarnApplyDeleteObjectTmTask(const char* name);

// Sends one request's JSON text to the timer thread. 1 or -1.
int32_t sendMsgTarnTmTask(const char* text);
