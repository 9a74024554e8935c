// Why a command was run, for what has no parameter: a light, a route.
#pragma once

#include <string>

#include "story.h"

namespace vcfgctl {

// The last command that holds the text. An exit status, reported when not kDone.
int explainRan(const std::string& text, const Story& story);

}  // namespace vcfgctl
