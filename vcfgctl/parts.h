// The parts of a path, between its dots.
#pragma once

#include <vcfg/msg.h>

#include <array>
#include <cstdint>
#include <string_view>
#include <vector>

namespace vcfgctl {

using Parts = std::vector<std::string_view>;
// Instance numbers by depth, 0 for any.
using Places = std::array<uint8_t, sizeof(objIndex::idx)>;

// A dot at the end adds no part.
Parts split(std::string_view path);
// How many of `parts` follow the object's pattern; the instance numbers met on the way go to `places`.
size_t follow(const Parts& pattern, const Parts& parts, Places* places);

}  // namespace vcfgctl
