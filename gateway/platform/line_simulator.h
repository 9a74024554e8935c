// The gateway's lines that are no Ethernet: DSL, optical, USB. The simulator owns their devices and tells what their
// owners would tell.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "dsl_line.h"

// A line's device in the gateway and its end at the exchange, a device that can be moved into another namespace.
struct Wire {
    std::string name;
    int near = -1;
    int far = -1;
    bool carrier = false;
};

struct LineSimulator {
    std::vector<DslLine> dsl;
    std::vector<Wire> wires;
    int64_t trainMs = 2000;
    bool devices = true;       // without, the simulator sends the kernel's events itself
    std::string registration;  // the file that names the process which hears them
};

struct Answer {
    int status = 0;  // exit status for the one who asked
    std::string text;
};

// Makes the devices; false, with a line on standard error, when a device cannot be made.
bool makeWires(LineSimulator& lines);
// Tells the data model how the lines are as the simulator starts.
void reportAll(LineSimulator& lines, int64_t now);
// Does what a command line asks: "dsl up --mode ptm", "optical down", "state", ...
Answer obey(LineSimulator& lines, const std::vector<std::string>& words, int64_t now);
// Ends the trainings whose time has come.
void train(LineSimulator& lines, int64_t now);
// When the next training ends; negative when none runs.
int64_t nextTraining(const LineSimulator& lines);
