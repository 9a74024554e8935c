#include "assignment.h"

#include <vcfg/fe.h>

#include <cstring>

#include "ask.h"
#include "instances.h"
#include "print.h"
#include "value.h"

namespace vcfgctl {
namespace {

namespace model = vcfg::model;

// Why the value would be refused; empty when it is good.
std::string check(const model::Parameter& parameter, const std::string& value) {
    if (parameter.countedOid != RDM_OID_NONE) {
        return "is counted, it cannot be written";
    }
    std::string why;
    asShown(parameter, value, &why);
    return why;
}

Write& writeFor(const model::Object& object, const objIndex& iid, const model::Parameter& parameter,
                std::vector<Write>& writes) {
    for (Write& write : writes) {
        if (write.object == &object && memcmp(&write.iid, &iid, sizeof write.iid) == 0) {
            write.subject = model::path(object, iid);
            return write;
        }
    }
    writes.push_back(
        {&object, iid, JsonPtr(json_object_new_object()), model::path(object, iid) + "." + parameter.name});
    return writes.back();
}

}  // namespace

int addValue(const Assignment& assignment, const objIndex& iid, std::vector<Write>* writes) {
    const model::Parameter& parameter = *assignment.target.parameter;
    const Write& write = writeFor(*assignment.target.object, iid, parameter, *writes);
    if (json_object_object_get_ex(write.values.get(), parameter.name, nullptr) != 0) {
        return refuse(model::path(*write.object, iid) + "." + parameter.name + ": is given twice");
    }
    json_object_object_add(
        write.values.get(), parameter.name,
        json_object_new_string_len(assignment.value.data(), static_cast<int>(assignment.value.size())));
    return kDone;
}

int parseAssignment(const Call& call, const std::string& text, std::vector<Assignment>* assignments) {
    const size_t equals = pathLength(text);
    if (equals == text.size() || text[equals] != '=') {
        return wrongUsage(call, "\"" + oneLine(text) + "\" is not PATH=VALUE");
    }
    const std::string path = text.substr(0, equals);
    std::string why;
    std::vector<Selection> found = select(path, &why);
    if (found.empty()) {
        return refuse(path + ": " + why);
    }
    if (found.front().parameter == nullptr) {
        return refuse(path + ": is no parameter; 'vcfgctl list --next " + path + "' shows them");
    }
    const std::string value = text.substr(equals + 1);
    why = check(*found.front().parameter, value);
    if (!why.empty()) {
        return refuse(path + ": " + why);
    }
    assignments->push_back({std::move(found.front()), path, value});
    return kDone;
}

int toWrites(const std::vector<Assignment>& assignments, std::vector<Write>* writes) {
    for (const Assignment& assignment : assignments) {
        std::vector<objIndex> iids;
        int status = expand(assignment.target, assignment.path, &iids);
        if (status == kDone && iids.empty()) {
            status = refuse(assignment.path + ": there is no such instance, nothing is written");
        }
        for (size_t i = 0; i < iids.size() && status == kDone; ++i) {
            status = addValue(assignment, iids[i], writes);
        }
        if (status != kDone) {
            return status;
        }
    }
    return kDone;
}

}  // namespace vcfgctl
