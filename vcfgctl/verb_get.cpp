#include "ask.h"
#include "print.h"
#include "verb.h"

namespace vcfgctl {
namespace {

int print(const Selection& selection, const Call& call) {
    return forEach(selection, call.option("refresh") != nullptr, [&](const objIndex& iid, const void* record) {
        const std::string path = vcfg::model::path(*selection.object, iid);
        for (const vcfg::model::Parameter& parameter : selection.object->parameters) {
            if (selection.parameter == nullptr || selection.parameter == &parameter) {
                printParameter(path, parameter, record, call.json);
            }
        }
    });
}

}  // namespace

int runGet(const Call& call) {
    if (call.operands.empty()) {
        return wrongUsage(call, "a path is missing");
    }
    std::vector<Selection> selections;
    for (const std::string& path : call.operands) {
        std::string why;
        const std::vector<Selection> found = select(path, &why);
        if (found.empty()) {
            return refuse(std::string(path).append(": ").append(why));
        }
        selections.insert(selections.end(), found.begin(), found.end());
    }
    int status = joinBus(call.runDir);
    for (size_t i = 0; i < selections.size() && status == kDone; ++i) {
        status = print(selections[i], call);
    }
    return status;
}

}  // namespace vcfgctl
