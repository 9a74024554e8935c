// Events on their way to the monitor daemon.
#pragma once

#include <cstdint>
#include <string>

// Sends one message to the daemon, and waits a little for a daemon that is about to start again. False when it was not
// delivered; it has said so on standard error.
bool deliver(uint32_t type, const std::string& payload);
