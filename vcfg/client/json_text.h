// Text as a JSON string. Written out by hand because a log line must not fail on bytes that are no UTF-8.
#pragma once

#include <string>
#include <string_view>

namespace vcfg {

// Appends `text` in quotes; what is no UTF-8 becomes U+FFFD.
void appendJsonString(std::string& to, std::string_view text);

}  // namespace vcfg
