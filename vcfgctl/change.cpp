#include "change.h"

#include "ask.h"
#include "client/fe_change.h"

namespace vcfgctl {

int takeRequestType(const Call& call, uint32_t* requestType) {
    const bool noApply = call.option("no-apply") != nullptr;
    const bool wait = call.option("wait") != nullptr;
    if (noApply && wait) {
        return wrongUsage(call, "--no-apply has nothing to --wait for");
    }
    *requestType = noApply ? VCFG_FE_WRITE_NO_APPLY : wait ? VCFG_FE_WRITE_AND_WAIT : VCFG_FE_WRITE_APPLY;
    return kDone;
}

uint32_t patienceFor(uint32_t requestType) {
    return requestType == VCFG_FE_WRITE_AND_WAIT ? kWithoutLimit : kPatience;
}

vcfg_step_t stepFor(const Write& write) {
    return {VCFG_STEP_WRITE, write.object->oid, write.iid,
            json_object_to_json_string_ext(write.values.get(), JSON_C_TO_STRING_PLAIN)};
}

int change(std::vector<vcfg_step_t>& steps, uint32_t requestType, const std::string& subject) {
    const vcfg::Deadline deadline = vcfg::Deadline::ofCall(patienceFor(requestType));
    const vcfg::Answer answer = vcfg::requestChange(steps, requestType, deadline);
    return answer.code == VCFG_OK ? kDone : reportFailure(answer, subject);
}

}  // namespace vcfgctl
