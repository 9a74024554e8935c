// What a program that stands in for /bin/sh is called for.
#pragma once

#include <string>

// The text of `sh -c TEXT`, also in the form `sh -c -- TEXT`; null for every other call.
const char* commandText(int count, char** words);
// Whether the caller is the daemon.
bool daemonAsks();
// The real shell does what this one was called for.
[[noreturn]] void becomeShell(char** words);

// The exit status of a shell that could not run the command.
inline constexpr int kNotRun = 127;
// What a shell tells of a command whose status, as of system(), this is.
int exitStatus(int status);
// Ends by the signal that ended the command, if one did; else this is what to end with.
int endAs(int status);

// At most so many; "" when there is no such file.
std::string firstBytes(const char* path, size_t limit);
