// Secrets in texts that are no values of the model themselves: JSON objects that messages carry.
#pragma once

#include <string>
#include <string_view>

namespace vcfgctl {

// The text with ******** in place of the values of members that are named like a secret, and of what changes of a
// secret parameter say about it. It may be cut off anywhere.
std::string maskSecrets(std::string_view json);

}  // namespace vcfgctl
