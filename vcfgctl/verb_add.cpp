#include <vcfg/fe.h>

#include <cstdio>
#include <optional>

#include "ask.h"
#include "assignment.h"
#include "change.h"
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

// The instance has no number yet, neither in its own values nor in those of what comes with it.
int toNewWrites(const std::vector<Assignment>& values, const objIndex& parent, std::vector<Write>* writes) {
    for (const Assignment& value : values) {
        objIndex iid = parent;
        iid.level = value.target.object->depth;
        for (size_t i = parent.level + 1u; i < iid.level; ++i) {
            iid.idx[i] = value.target.wanted[i];
        }
        const int status = addValue(value, iid, writes);
        if (status != kDone) {
            return status;
        }
    }
    return kDone;
}

std::vector<vcfg_step_t> toSteps(const model::ResolvedTable& table, const std::vector<Write>& writes) {
    std::vector<vcfg_step_t> steps = {{VCFG_STEP_ADD, table.object->oid, table.parent, nullptr}};
    for (const Write& write : writes) {
        if (write.object == table.object) {
            steps.front().json = stepFor(write).json;
        } else {
            steps.push_back(stepFor(write));
        }
    }
    return steps;
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

int add(const Call& call, uint32_t type, const std::string& path, const std::vector<Assignment>& values) {
    const std::optional<model::ResolvedTable> table = model::resolveTable(path);
    if (!table) {
        return refuse(path + ": takes an instance number, or one filter, in each place");
    }
    std::vector<Write> writes;
    int status = toNewWrites(values, table->parent, &writes);
    if (status != kDone) {
        return status;
    }
    std::vector<vcfg_step_t> steps = toSteps(*table, writes);
    status = change(steps, type, path);
    if (status == kDone) {
        printPath(model::path(*table->object, steps.front().iid), call.json);
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
    uint32_t type = 0;
    int status = takeRequestType(call, &type);
    if (status == kDone) {
        status = parseValues(call, path, &values);
    }
    if (status == kDone) {
        status = joinBus(call.runDir);
    }
    if (status == kDone) {
        status = pin(&path);
    }
    return status == kDone ? add(call, type, path, values) : status;
}

}  // namespace vcfgctl
