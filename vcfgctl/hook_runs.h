// How hooks and commands ended, in what the recorder has of them.
#pragma once

#include <string>

#include "story.h"

namespace vcfgctl {

// The step that says how the command or hook ended; null when none does.
const Told* endOf(const Story& story, const Told& begin);
// It has not ended, as far as can be said: how it ended is not kept as long as that it began.
bool isRunning(const Story& story, const Told& begin);

std::string hookTroubleText(const Told& trouble, int64_t nowUs);
// "IP.Interface.1" of the last word of a hook's event.
std::string pathOfHook(const Told& hook);

}  // namespace vcfgctl
