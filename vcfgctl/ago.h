// When something was, for people. Times are monotonic, in microseconds.
#pragma once

#include <cstdint>
#include <string>

namespace vcfgctl {

// "4.2 s ago", "12 min ago"; and when that was, by the wall clock.
std::string agoText(int64_t timeUs, int64_t nowUs);
std::string clockText(int64_t timeUs, int64_t nowUs);

}  // namespace vcfgctl
