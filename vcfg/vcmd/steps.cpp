// Several changes as one: all or none.
#include <vcfg/fe.h>

#include "client/fe_step.h"
#include "writes.h"

namespace vcfg::vcmd {
namespace {

using wire::Step;

bool takeSteps(std::string_view bytes, std::vector<Step>* steps) {
    while (!bytes.empty()) {
        Step step{};
        if (!wire::takeStep(bytes, &step)) {
            return false;
        }
        steps->push_back(step);
    }
    return true;
}

int add(store::Edit& edit, const Step& step, objIndex* iid, std::string* why) {
    const int code = edit.add(step.header.oid, iid, why);
    return code != VCFG_OK || step.text.empty() ? code : writeText(edit, step.header.oid, iid, step.text, why);
}

int make(store::Edit& edit, const Step& step, objIndex* iid, std::string* why) {
    switch (step.header.kind) {
        case VCFG_STEP_WRITE:
            return writeText(edit, step.header.oid, iid, step.text.empty() ? "{}" : step.text, why);
        case VCFG_STEP_ADD:
            return add(edit, step, iid, why);
        case VCFG_STEP_DELETE:
            if (step.text.empty()) {
                return edit.remove(step.header.oid, iid, why);
            }
            *why = "what is deleted takes no parameters";
            return VCFG_ERR_INVALID;
        default:
            *why = "there is no step of kind " + std::to_string(step.header.kind);
            return VCFG_ERR_INVALID;
    }
}

}  // namespace

void changeSeveral(Vcmd& vcmd, Staged& staged) {
    std::string_view bytes = staged.request.payload();
    wire::WriteHeader header{};
    Apply apply = Apply::None;
    std::vector<Step> steps;
    if (!wire::takeHeader(bytes, &header) || !toApply(header.requestType, apply)) {
        return refuse(staged, VCFG_ERR_INVALID, "no such kind of write");
    }
    if (!takeSteps(bytes, &steps)) {
        return refuse(staged, VCFG_ERR_INVALID, "the steps are not whole");
    }
    changeModel(vcmd, staged, apply, [&](store::Edit& edit, std::string* why) {
        std::vector<objIndex> iids;
        for (const Step& step : steps) {
            objIndex iid = step.header.iid;
            const int code = make(edit, step, &iid, why);
            if (code != VCFG_OK) {
                return code;
            }
            iids.push_back(iid);
        }
        confirm(staged, {}, std::as_bytes(std::span(iids)));
        return static_cast<int>(VCFG_OK);
    });
}

}  // namespace vcfg::vcmd
