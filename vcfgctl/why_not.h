// Where the way to a value ended that a parameter does not have.
#pragma once

#include <string>

#include "story.h"

namespace vcfgctl {

// "IP.Interface.1.Status=Up". An exit status, reported when not kDone.
int explainNot(const std::string& assignment, const Story& story);

}  // namespace vcfgctl
