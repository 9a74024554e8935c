// Values that authenticate somebody, and are shown only to who insists.
#pragma once

#include <string>

#include "model/describe.h"
#include "verb.h"

namespace vcfgctl {

inline constexpr option kShowSecrets = {"show-secrets", no_argument, nullptr, 0};

// The value, or what stands for a secret one. That there is none may be seen.
std::string shown(const Call& call, const vcfg::model::Parameter& parameter, const std::string& value);

}  // namespace vcfgctl
