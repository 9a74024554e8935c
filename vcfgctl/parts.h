// The parts of a path, between its dots.
#pragma once

#include <vcfg/msg.h>

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace vcfgctl {

using Parts = std::vector<std::string_view>;
// Instance numbers by depth, 0 for any.
using Places = std::array<uint8_t, sizeof(objIndex::idx)>;

// A dot at the end adds no part; those in "[...]" part nothing.
Parts split(std::string_view path);
std::string join(const Parts& parts, size_t count);

// "[Status==Up]" or "[wan]": which instances are meant, instead of a number.
bool isFilter(std::string_view part);
// How much of the text is the path; what is behind it begins with one of = ! ~ < >.
size_t pathLength(std::string_view text);

// How many of `parts` follow the object's pattern; the instance numbers met on the way go to `places`.
size_t follow(const Parts& pattern, const Parts& parts, Places* places);

}  // namespace vcfgctl
