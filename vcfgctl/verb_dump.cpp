#include <json-c/json.h>

#include <cstdio>

#include "ask.h"
#include "instances.h"
#include "print.h"
#include "verb.h"

namespace vcfgctl {
namespace {

namespace model = vcfg::model;

// What differs from a new instance's values, as vcmd keeps it in its file.
json_object* changedValues(const model::Object& object, const void* record) {
    std::vector<std::byte> fresh(object.size);
    setDefaults(object, fresh.data());
    json_object* values = json_object_new_object();
    for (const model::Parameter& parameter : object.parameters) {
        if (parameter.countedOid == RDM_OID_NONE &&
            valueText(parameter, record) != valueText(parameter, fresh.data())) {
            json_object_object_add(values, parameter.name, jsonValue(parameter, valueText(parameter, record)));
        }
    }
    return values;
}

}  // namespace

int runDump(const Call& call) {
    if (!call.operands.empty()) {
        return wrongUsage(call, "takes no argument; 'get PATH.' prints a part of the model");
    }
    int status = joinBus(call.runDir);
    json_object* objects = json_object_new_object();
    for (const model::Object& object : model::objects()) {
        if (status != kDone) {
            break;
        }
        status = forEach({&object, {}, nullptr}, false, [&](const objIndex& iid, const void* record) {
            json_object* values = changedValues(object, record);
            if (object.isTable || json_object_object_length(values) > 0) {
                json_object_object_add(objects, path(object, iid).c_str(), values);
            } else {
                json_object_put(values);
            }
        });
    }
    json_object* whole = json_object_new_object();
    json_object_object_add(whole, "version", json_object_new_int(1));
    json_object_object_add(whole, "objects", objects);
    if (status == kDone) {
        puts(json_object_to_json_string_ext(
            whole, JSON_C_TO_STRING_NOSLASHESCAPE | (call.json ? JSON_C_TO_STRING_PLAIN : JSON_C_TO_STRING_PRETTY)));
    }
    json_object_put(whole);
    return status;
}

}  // namespace vcfgctl
