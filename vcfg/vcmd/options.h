// vcmd's command line and environment.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace vcfg::vcmd {

struct Options {
    bool foreground = false;
    std::string runDir;
    std::string dataDir;
    std::string hookDir;
    std::string defaults;
    bool takeOver = false;
    uint32_t hookLimitMs = 30000;
    size_t modelSize = 0;  // the most bytes that the model's environment takes
};

// True to go on; else the process ends with `status`, everything said.
bool parseOptions(int argc, char** argv, Options& options, int& status);

}  // namespace vcfg::vcmd
