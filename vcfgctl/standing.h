// What an object stands on as it is now, where that is not as it should be: what no event need have told.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "surroundings.h"

namespace vcfgctl {

struct Remark {
    std::optional<int64_t> timeUs;  // since when; missing when that is not recorded
    std::string text;
};

// Objects that are switched off, the lowest that are down and what is up in their place, and clients that have gone.
// What goes back to the same first cause as the chain is told there.
std::vector<Remark> remarksOn(const Story& story, const Surroundings& surroundings, const std::vector<Link>& chain);

}  // namespace vcfgctl
