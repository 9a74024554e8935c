// The program that this process runs, as the cause of what it does by itself.
#pragma once

#include "entry.h"

namespace vcfg::recorder {

// $VCFG_EVENT names the event that the process was started for, and what it starts is told the same.
inline constexpr const char* kEnvironment = "VCFG_EVENT";

// To be called while the process has one thread, as far as possible.
void takeEnvironment();
// Of what this process starts from now on.
void tellChildren(uint32_t event);

// The command line, who has started it, as which user, and the event that it was started for.
void describeProgram(Entry& entry);

}  // namespace vcfg::recorder
