// The process of a protocol client, by the pid file that it writes.
#pragma once

#include <sys/types.h>

#include <string_view>

// The number in the pid file; 0 when there is no file or no number in it.
pid_t processInPidFile(std::string_view pidFile);

// Sends the signal when the process is a live one that is neither the daemon itself nor process 1; else one log line.
void signalClient(pid_t process, int signal);
