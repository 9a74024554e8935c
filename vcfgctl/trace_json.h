// The recorder's entries as JSON: a line each, or as a browser's performance view opens them.
#pragma once

#include <set>
#include <string>

#include "story.h"

struct json_object;

namespace vcfgctl {

json_object* jsonOf(const Story& story, const Told& told);

// Trace events of the chosen ones: processes and threads as rows, events as bars, steps as marks, causes as arrows.
// False when the file cannot be written.
bool writeBrowserTrace(const Story& story, const std::set<uint32_t>& events, const std::string& file);

}  // namespace vcfgctl
