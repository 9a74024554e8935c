// Running a diagnostic tool: no shell between, what it says is bounded, and it never outlives its caller.
#pragma once

#include <sys/types.h>

#include <chrono>
#include <string>
#include <vector>

using Words = std::vector<std::string>;
using Seconds = std::chrono::duration<double>;

// Standard streams of a tool that is started; -1 is /dev/null.
struct Streams {
    int in = -1;
    int out = -1;
    int err = -1;
};
// Its process number, or -1. It dies with the caller.
pid_t startTool(const Words& words, const Streams& streams);

struct Finished {
    bool ended = false;  // by itself: not for want of time, nor for saying too much
    int status = -1;     // exit status; -1 when it was killed or could not be started
    std::string text;    // standard output and error
};
// Runs the tool to its end, or to the deadline's.
Finished runTool(const Words& words, Seconds deadline);

// Exit status of a child that has ended; -1 when it was killed.
int statusOf(pid_t child);

std::vector<std::string> linesOf(const std::string& text);
Words wordsOf(const std::string& line);

// The state that a tool's complaint stands for; "Error_Internal" for one that it does not know.
std::string problemIn(const std::string& text);

// "-4" or "-6" for a protocol version; nothing for any.
Words familyOption(const std::string& version);
