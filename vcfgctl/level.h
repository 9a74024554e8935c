// What may follow in a path.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "parts.h"

namespace vcfgctl {

using Texts = std::vector<std::string>;

// How much of a path the model has, and what may follow there.
struct Level {
    size_t known = 0;
    bool takesInstance = false;  // an instance number may follow
    bool isWhole = false;        // what is known is a parameter
    Texts names;
};

Level levelOf(const Parts& parts);

// Adds what is not among them yet.
void add(Texts& names, std::string_view name);

}  // namespace vcfgctl
