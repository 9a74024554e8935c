// One run of a hook: an executable of the hook directory that gets an instance as JSON on its standard input, with a
// clean environment and a time limit. Nothing here waits.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <string>

#include "client/deadline.h"
#include "complaint.h"
#include "fd.h"

namespace vcfg::vcmd {

struct HookCall {
    std::string program;  // the executable
    std::string action;   // "set", "add", "del", "get"
    std::string path;     // of the instance
    std::string input;    // for its standard input
    bool wantsOutput;     // its standard output is the result; else it goes nowhere
    uint32_t cause = 0;   // the recorder's event that it is run for
    uint8_t forEid = 0;   // who has asked for it
};

struct HookRun {
    HookCall call;
    uint32_t event = 0;  // the recorder's; what the hook starts is told it
    pid_t pid = -1;
    Fd output;
    Fd complaints;     // its standard error
    std::string text;  // of the output
    Complaint complaint;
    Deadline deadline = Deadline::never();
    std::string failure;  // why it failed; empty while nothing has
    int status = -1;      // as waitpid() tells it; -1 while it has none
};

// What is run, for people: "apply/IP.Interface.{i} set IP.Interface.1".
std::string titleOf(const HookCall& call);

// Starts the hook; false with run.failure set when that is impossible.
bool startHook(HookCall call, uint32_t limitMs, HookRun& run);
// Takes what the hook has written, and kills it when its time is up or its output too long.
void tendHook(HookRun& run);
// True once the hook has ended; run.text and run.failure are complete then.
bool reapHook(HookRun& run);
// Ends the hook, and what it started, at once.
void killHook(HookRun& run);

}  // namespace vcfg::vcmd
