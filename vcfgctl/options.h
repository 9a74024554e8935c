// Options that name endpoints and message types.
#pragma once

#include "verb.h"

namespace vcfgctl {

// False for what names none; the wrong usage is reported.
bool endpointOption(const Call& call, const std::string& option, const std::string& text, uint8_t* eid);
bool typeOption(const Call& call, const std::string& text, uint32_t* type);

}  // namespace vcfgctl
