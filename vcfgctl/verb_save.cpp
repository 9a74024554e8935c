#include "ask.h"
#include "verb.h"

namespace vcfgctl {

int runSave(const Call& call) {
    if (!call.operands.empty()) {
        return wrongUsage(call, "takes no argument");
    }
    const int status = joinBus(call.runDir);
    if (status != kDone) {
        return status;
    }
    const vcfg::Answer answer = ask(vcfg::wire::kSave, 0, {});
    return answer.code == VCFG_OK ? kDone : reportFailure(answer, "the configuration cannot be saved");
}

}  // namespace vcfgctl
