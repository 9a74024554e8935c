// What to say about a path that names nothing.
#pragma once

#include <string>
#include <string_view>

namespace vcfgctl {

// "there is no such path; did you mean IP.Interface.1.Status?"
std::string suggestion(std::string_view path);

}  // namespace vcfgctl
