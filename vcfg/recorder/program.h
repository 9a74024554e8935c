// The program that this process runs, as the cause of what it does by itself.
#pragma once

#include "entry.h"

namespace vcfg::recorder {

// $VCFG_EVENT names the event that the process was started for.
inline constexpr const char* kEnvironment = "VCFG_EVENT";

// To be called while the process has one thread, as far as possible.
void takeEnvironment();
// That of this process, with another event (0 leaves it as it is); the calling thread's, until it asks again.
char* const* environmentOf(uint32_t event);

// The command line, who has started it, as which user, and the event that it was started for.
void describeProgram(Entry& entry);

}  // namespace vcfg::recorder
