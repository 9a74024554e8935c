// Message type -> name, log line, handler.
#pragma once

#include <atomic>

// Set by the first report of a synchronised clock: the time configuration is applied again once in the daemon's life.
extern std::atomic<bool> ntpSyncNoticeSent;

// Receives one message for the calling thread's endpoint and handles it to its end.
void processRequest();
