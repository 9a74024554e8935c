// How a command line may go on.
#pragma once

#include "level.h"
#include "verb.h"

namespace vcfgctl {

// What may stand in the place of the last of `words`, which begin behind the program's name. One that ends in "." or
// "=" goes on behind it. vcmd is asked for instance numbers, and it is no failure when it does not answer.
Texts candidates(const std::string& runDir, const std::vector<std::string>& words);

}  // namespace vcfgctl
