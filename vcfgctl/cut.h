// A recording cut to one event's chain: from its first cause to all that came of that.
#pragma once

#include <cstdint>
#include <string>

namespace vcfgctl {

// An exit status, reported when not kDone.
int cutRecording(uint32_t event, const std::string& from, const std::string& to);

}  // namespace vcfgctl
