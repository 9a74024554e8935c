// The operating system as the daemon uses it. Everything that runs a command, touches a file, signals a process, sleeps
// or starts a thread goes through here, so that a test can record it and own the clock.
#pragma once

#include <sys/types.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace os {

// What system() returns for the command text, unchanged.
int runCommand(const std::string& command);
// First line of a command's output, at most `limit` characters, without its newline; nothing when there is none.
std::optional<std::string> firstLineOf(const std::string& command, size_t limit);

// One line to the system log, or to standard output (newline included), written at once. A reader that has stopped
// costs lines, which are counted and spoken of when it reads again.
void systemLog(int priority, const std::string& text);
void standardOutput(const std::string& text);

// Whole content of a regular file, at most `limit` bytes; nothing when it cannot be opened or is something else: a pid
// file may be anything, and a FIFO would hold the reader for good.
std::optional<std::string> readFile(const std::string& path, size_t limit);
bool fileExists(const std::string& path);
// Shows a regular file's bytes to `visit`, mapped piece by piece, so that a large one costs no memory. What the file
// has lost by the time it is looked at shows as zeros. False when it cannot be opened or mapped.
bool visitFile(const std::string& path, void (*visit)(std::string_view bytes, void* context), void* context);
// Creates or truncates a file and writes `text`; false when it cannot be opened. What finds no room on the disk is
// lost.
bool writeFile(const std::string& path, std::string_view text);

// 0, or -1 with errno set. The daemon's own process and process 1 are the caller's business.
int signalProcess(pid_t process, int signal);
pid_t ownProcess();

void sleepMs(uint32_t milliseconds);
// Seconds since boot; nothing when the system does not say.
std::optional<uint32_t> uptimeSeconds();
// Seconds since the epoch.
int64_t now();
// Kernel release, as uname says.
std::string kernelRelease();

// Lets all threads allocate from one place: each with a place of its own would take a part of a small address space.
// Before the first thread starts.
void shareAllocations();

// Runs `body(argument)` on a detached thread of its own; `stackBytes` 0 is the system's default. 0, or -5 when memory
// is short or the system starts no more threads.
int startThread(void (*body)(void*), void* argument, size_t stackBytes = 0);

}  // namespace os
