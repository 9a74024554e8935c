#include <optional>

#include "ask.h"
#include "suggest.h"
#include "verb.h"

namespace vcfgctl {

namespace model = vcfg::model;

int runDel(const Call& call) {
    if (call.operands.size() != 1) {
        return wrongUsage(call, "takes one instance's path");
    }
    std::string path = call.operands.front();
    if (path.ends_with('.')) {
        path.pop_back();
    }
    const std::optional<model::Resolved> where = model::resolve(path);
    if (!where) {
        return refuse(path + ": " + suggestion(path));
    }
    if (!where->rest.empty() || !where->object->isTable) {
        return refuse(path + ": is no instance of a table; only those can be deleted");
    }
    const int status = joinBus(call.runDir);
    if (status != kDone) {
        return status;
    }
    const vcfg::Answer answer = ask(vcfg::wire::kDelete, where->object->oid, where->iid);
    return answer.code == VCFG_OK ? kDone : reportFailure(answer, path);
}

}  // namespace vcfgctl
