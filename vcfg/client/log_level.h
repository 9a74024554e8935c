// The process's log level.
#pragma once

namespace vcfg {

// False for what is no level (3..7).
bool setLogLevel(int level);

}  // namespace vcfg
