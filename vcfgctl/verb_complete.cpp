#include <cstdio>

#include "complete.h"

namespace vcfgctl {

int runComplete(const Call& call) {
    if (call.operands.empty()) {
        return wrongUsage(call, "the words of a command line are missing");
    }
    for (const std::string& one : candidates(call.runDir, call.operands)) {
        puts(one.c_str());
    }
    return kDone;
}

}  // namespace vcfgctl
