// Programs and processes that the hooks start and signal.
#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

// Runs the program with these words, no shell between, and waits for it. True when it said that it succeeded.
bool run(const std::vector<std::string>& words, bool quiet = false);

// The live process whose number the file holds; 0 without one.
pid_t processOf(const std::string& pidFile);
// Signals the process, and has the flight recorder know: what it reports next is because of that.
bool tell(pid_t process, int signal);
// Signals that process, if there is one.
void signalProcess(const std::string& pidFile, int signal);
// Waits some seconds for the end of a process and all that it has started.
void awaitEnd(pid_t process);
// Signals that process and waits until it has ended, with all that it has started: a helper of it may clean up after
// it, and must not clean up its successor. What does not end in time is killed.
void endProcess(const std::string& pidFile, int signal);
// Between two looks at what another process does.
void waitAMoment();
