// What a monitor prints.
#pragma once

#include "passing.h"

namespace vcfgctl {

void printPassage(const Passage& passage, bool json, bool showSecrets);
// That so many messages could not be shown.
void printLost(uint32_t count, bool json);

}  // namespace vcfgctl
