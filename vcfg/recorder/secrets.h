// Secrets in texts: command lines, JSON, what people typed.
#pragma once

#include <string>
#include <string_view>

namespace vcfg::recorder {

// "Password", "StationPin", "PreSharedKey": what a member, an option or a parameter of that name has is nobody's
// business.
bool isSecretName(std::string_view name);

// The text with ******** in place of what stands behind such a name: NAME=VALUE, "NAME": "VALUE", --NAME VALUE, and
// behind -p of a command whose name begins with "ftp".
std::string masked(std::string_view text);

}  // namespace vcfg::recorder
