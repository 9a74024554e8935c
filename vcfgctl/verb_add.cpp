#include <json-c/json.h>

#include <cstdio>
#include <optional>

#include "ask.h"
#include "print.h"
#include "suggest.h"
#include "verb.h"

namespace vcfgctl {

namespace model = vcfg::model;

int runAdd(const Call& call) {
    if (call.operands.size() != 1) {
        return wrongUsage(call, "takes one table's path");
    }
    const std::string& path = call.operands.front();
    const std::optional<model::ResolvedTable> table = model::resolveTable(path);
    if (!table) {
        const std::optional<model::Resolved> where = model::resolve(path);
        return refuse(path + ": " +
                      (where ? "is no table; a table's path ends before the instance number" : suggestion(path)));
    }
    const int status = joinBus(call.runDir);
    if (status != kDone) {
        return status;
    }
    const vcfg::Answer answer = ask(vcfg::wire::kAdd, table->object->oid, table->parent);
    if (answer.code != VCFG_OK) {
        return reportFailure(answer, path);
    }
    const std::string added = model::path(*table->object, answer.iid);
    if (!call.json) {
        puts(added.c_str());
        return kDone;
    }
    json_object* line = json_object_new_object();
    json_object_object_add(line, "path", jsonText(added));
    printJsonLine(line);
    return kDone;
}

}  // namespace vcfgctl
