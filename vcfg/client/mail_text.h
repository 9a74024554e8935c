// What the flight recorder has of a mail: where it goes, and nothing of what stands in it.
#pragma once

#include <string>

namespace vcfg {

// "vcfg-mail to owner@example.net through 203.0.113.1:25", of a mail's JSON request.
std::string mailText(const char* request);

}  // namespace vcfg
