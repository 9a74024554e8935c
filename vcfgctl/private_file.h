// Files that hold what only their owner may read.
#pragma once

#include <string>
#include <string_view>

namespace vcfgctl {

// The file is whole and of mode 0600, or as it was before. An exit status, reported when not kDone.
int writePrivateFile(const std::string& name, std::string_view content);

}  // namespace vcfgctl
