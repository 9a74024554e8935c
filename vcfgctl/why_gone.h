// Instances that are not there any more.
#pragma once

#include "select.h"
#include "story.h"

namespace vcfgctl {

// What became of those that the path stood for, as far as the recorder has it. False when it has nothing, or the only
// one that is meant is there.
bool explainGone(const Story& story, const Selection& selection);

}  // namespace vcfgctl
