#include "ask.h"
#include "instances.h"
#include "verb.h"

namespace vcfgctl {
namespace {

namespace model = vcfg::model;

// Of several the last one first: the others keep their numbers whatever happens.
int remove(const Selection& selection, const std::string& path) {
    std::vector<objIndex> iids;
    int status = expand(selection, path, &iids);
    for (; !iids.empty() && status == kDone; iids.pop_back()) {
        const vcfg::Answer answer = ask(vcfg::wire::kDelete, selection.object->oid, iids.back());
        if (answer.code != VCFG_OK) {
            status = reportFailure(answer, model::path(*selection.object, iids.back()));
        }
    }
    return status;
}

}  // namespace

int runDel(const Call& call) {
    if (call.operands.size() != 1) {
        return wrongUsage(call, "takes one instance's path");
    }
    std::string path = call.operands.front();
    if (path.ends_with('.')) {
        path.pop_back();
    }
    std::string why;
    const std::vector<Selection> found = selectInstances(path, &why);
    if (found.empty() && select(path, &why).empty()) {
        return refuse(path + ": " + why);
    }
    if (found.empty() || !found.front().object->isTable) {
        return refuse(path + ": is no instance of a table; only those can be deleted");
    }
    const int status = joinBus(call.runDir);
    return status == kDone ? remove(found.front(), path) : status;
}

}  // namespace vcfgctl
