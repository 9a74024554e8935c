// The names that somebody may have meant.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace vcfgctl {

// How many characters must change, come or go to make the one the other; upper and lower case are the same.
size_t editDistance(std::string_view left, std::string_view right);

// Those of `names` that are so near `wanted` that they may have been meant, the nearest first; three at most.
std::vector<std::string> nearest(const std::vector<std::string>& names, std::string_view wanted);

}  // namespace vcfgctl
