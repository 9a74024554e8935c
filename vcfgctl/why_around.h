// What stands below a chain: what else there is to know for who asks about the value.
#pragma once

#include <string>
#include <vector>

#include "surroundings.h"

namespace vcfgctl {

enum class Around { All, Troubles };

// Of an object and what it stands on: what was met since then (all, or what was no good), and what is not as it should
// be now. Nothing when there is nothing.
void printAround(const Story& story, const Surroundings& surroundings, const std::vector<Link>& chain, int64_t sinceUs,
                 Around which);
// Of a parameter, below its full explanation.
void printAround(const Story& story, const Finding& finding);
// That what somebody sets now is lost when the gateway starts anew; nothing when it is not.
void printUnsaved(const Story& story, const Finding& finding);

}  // namespace vcfgctl
