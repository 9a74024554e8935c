// What vcfg_refusalText() says.
#pragma once

#include <string>

namespace vcfg {

// Of the calling thread; "" when its last request was granted.
void noteRefusal(const std::string& why);

}  // namespace vcfg
