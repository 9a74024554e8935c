#include "ask.h"
#include "instances.h"
#include "print.h"
#include "secret.h"

namespace vcfgctl {
namespace {

struct Query {
    std::string path;
    std::vector<Selection> selections;
};

int print(const Selection& selection, const Call& call, size_t* printed) {
    return forEach(selection, call.option("refresh") != nullptr, [&](const objIndex& iid, const void* record) {
        const std::string path = vcfg::model::path(*selection.object, iid);
        for (const vcfg::model::Parameter& parameter : selection.object->parameters) {
            if (selection.parameter == nullptr || selection.parameter == &parameter) {
                printValue(path + "." + parameter.name, parameter, shown(call, parameter, valueText(parameter, record)),
                           call.json);
                ++*printed;
            }
        }
    });
}

int print(const Query& query, const Call& call) {
    size_t printed = 0;
    for (const Selection& selection : query.selections) {
        const int status = print(selection, call, &printed);
        if (status != kDone) {
            return status;
        }
    }
    const Filter* const alias = query.selections.front().alias();
    return printed == 0 && alias != nullptr ? refuseAlias(*alias, query.path) : kDone;
}

}  // namespace

int runGet(const Call& call) {
    if (call.operands.empty()) {
        return wrongUsage(call, "a path is missing");
    }
    std::vector<Query> queries;
    for (const std::string& path : call.operands) {
        std::string why;
        queries.push_back({path, select(path, &why)});
        if (queries.back().selections.empty()) {
            return refuse(path + ": " + why);
        }
    }
    int status = joinBus(call.runDir);
    for (size_t i = 0; i < queries.size() && status == kDone; ++i) {
        status = print(queries[i], call);
    }
    return status;
}

}  // namespace vcfgctl
