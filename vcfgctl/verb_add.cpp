#include <vcfg/fe.h>

#include <cstdio>
#include <optional>

#include "ask.h"
#include "assignment.h"
#include "instances.h"
#include "print.h"
#include "suggest.h"

namespace vcfgctl {
namespace {

namespace model = vcfg::model;

// The table's own name of a parameter, with a value each. They are checked before there is an instance.
int parseValues(const Call& call, const std::string& table, std::vector<Assignment>* values) {
    for (size_t i = 1; i < call.operands.size(); ++i) {
        const int status = parseAssignment(call, table + ".*." + call.operands[i], values);
        if (status != kDone) {
            return status;
        }
    }
    return kDone;
}

// The new instance goes again when it does not take its values.
int fill(const model::Object& object, const objIndex& iid, std::vector<Assignment>& values) {
    for (Assignment& value : values) {
        for (size_t i = 0; i < iid.level; ++i) {
            value.target.wanted[i] = iid.idx[i];
        }
        value.target.filters.clear();
    }
    std::vector<Write> writes;
    int status = toWrites(values, &writes);
    for (size_t i = 0; i < writes.size() && status == kDone; ++i) {
        status = send(writes[i], VCFG_FE_WRITE_APPLY);
    }
    if (status != kDone) {
        ask(vcfg::wire::kDelete, object.oid, iid);
    }
    return status;
}

void printPath(const std::string& path, bool json) {
    if (!json) {
        puts(path.c_str());
        return;
    }
    json_object* line = json_object_new_object();
    json_object_object_add(line, "path", jsonText(path));
    printJsonLine(line);
}

int add(const Call& call, const std::string& path, std::vector<Assignment>& values) {
    const std::optional<model::ResolvedTable> table = model::resolveTable(path);
    if (!table) {
        return refuse(path + ": takes an instance number, or one filter, in each place");
    }
    const vcfg::Answer answer = ask(vcfg::wire::kAdd, table->object->oid, table->parent);
    if (answer.code != VCFG_OK) {
        return reportFailure(answer, path);
    }
    const int status = fill(*table->object, answer.iid, values);
    if (status == kDone) {
        printPath(model::path(*table->object, answer.iid), call.json);
    }
    return status;
}

}  // namespace

int runAdd(const Call& call) {
    if (call.operands.empty()) {
        return wrongUsage(call, "takes one table's path, and PARAMETER=VALUE");
    }
    for (size_t i = 1; i < call.operands.size(); ++i) {
        if (call.operands[i].find('=') == std::string::npos) {
            return wrongUsage(call, "\"" + oneLine(call.operands[i]) + "\" is not PARAMETER=VALUE");
        }
    }
    std::string path = call.operands.front();
    if (path.ends_with('.')) {
        path.pop_back();
    }
    std::string why;
    if (selectInstances(path + ".*", &why).empty()) {
        const bool isOther = !selectInstances(path, &why).empty();
        return refuse(path + ": " +
                      (isOther ? "is no table; a table's path ends before the instance number" : suggestion(path)));
    }
    std::vector<Assignment> values;
    int status = parseValues(call, path, &values);
    if (status == kDone) {
        status = joinBus(call.runDir);
    }
    if (status == kDone) {
        status = pin(&path);
    }
    return status == kDone ? add(call, path, values) : status;
}

}  // namespace vcfgctl
