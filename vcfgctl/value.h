// Values that somebody has typed.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "model/describe.h"

namespace vcfgctl {

// The value as the model shows it ("1" of a boolean is "true"); null with the reason in `why` when the parameter does
// not take it.
std::optional<std::string> asShown(const vcfg::model::Parameter& parameter, std::string_view value, std::string* why);

}  // namespace vcfgctl
