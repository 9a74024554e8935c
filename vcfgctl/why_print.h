// The answers of `vcfgctl why`.
#pragma once

#include "finding.h"

struct json_object;

namespace vcfgctl {

// When it was, by the clock of now, and the first cause.
void printSince(const Story& story, const std::vector<Link>& chain, int64_t timeUs, int64_t nowUs);
// The steps from the first cause to the last event, and the change that was made there (null for none).
void printChain(const Story& story, const std::vector<Link>& chain, const Told* change, int64_t nowUs);
// What links and clients have met since, and what the daemon did about it; nothing when there is nothing.
void printMet(const Story& story, const std::vector<const Told*>& met, int64_t nowUs);
// An explanation of several lines; one line, for many parameters; a JSON line.
void printFull(const Story& story, const Finding& finding, int64_t nowUs);
void printShort(const Story& story, const Finding& finding, int64_t nowUs);
void printJson(const Story& story, const Finding& finding);

}  // namespace vcfgctl
