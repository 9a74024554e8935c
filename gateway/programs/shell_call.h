// What a program that stands in for /bin/sh is called for.
#pragma once

#include <string>

// The text of `sh -c TEXT`, also in the form `sh -c -- TEXT`; null for every other call.
const char* commandText(int count, char** words);
// Whether the caller is the daemon.
bool daemonAsks();
// The real shell does what this one was called for.
[[noreturn]] void becomeShell(char** words);

// At most so many; "" when there is no such file.
std::string firstBytes(const char* path, size_t limit);
