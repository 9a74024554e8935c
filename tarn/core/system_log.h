// Remote diagnosis: a debug script of the operator's, fetched and run at a fixed period on a thread of its own.
#pragma once

#include <cstdint>

namespace os {
class Stoppable;
}

// 0 stops the thread wherever it is, a running fetch or script with it; anything else starts it, anew when it runs,
// with the settings as they are then.
void SystemLogThreadHandle(uint32_t start);

// The thread's work, until it is stopped or its settings cannot be read.
void periodic_send_log_thread(os::Stoppable& thread);
