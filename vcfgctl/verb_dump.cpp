#include <cstdio>

#include "ask.h"
#include "instances.h"
#include "json.h"
#include "print.h"
#include "private_file.h"
#include "secret.h"

namespace vcfgctl {
namespace {

namespace model = vcfg::model;

// What differs from a new instance's values, as vcmd keeps it in its file.
json_object* changedValues(const Call& call, const model::Object& object, const void* record) {
    std::vector<std::byte> fresh(object.size);
    setDefaults(object, fresh.data());
    json_object* values = json_object_new_object();
    for (const model::Parameter& parameter : object.parameters) {
        const std::string value = valueText(parameter, record);
        if (parameter.countedOid == RDM_OID_NONE && value != valueText(parameter, fresh.data())) {
            json_object_object_add(values, parameter.name, jsonValue(parameter, shown(call, parameter, value)));
        }
    }
    return values;
}

// An exit status, reported when not kDone. Of a single object there is nothing to say as long as it is as it was made.
int addInstances(const Call& call, const model::Object& object, json_object* objects) {
    return forEach({&object, {}, nullptr}, false, [&](const objIndex& iid, const void* record) {
        JsonPtr values(changedValues(call, object, record));
        if (object.isTable || json_object_object_length(values.get()) > 0) {
            json_object_object_add(objects, path(object, iid).c_str(), values.release());
        }
    });
}

}  // namespace

int runDump(const Call& call) {
    const bool toFile = call.option(kShowSecrets.name) != nullptr;
    if (call.operands.size() != (toFile ? 1 : 0)) {
        return wrongUsage(call, toFile ? "--show-secrets takes one file, which only its owner may read"
                                       : "takes no argument; 'get PATH.' prints a part of the model");
    }
    int status = joinBus(call.runDir);
    const JsonPtr whole(json_object_new_object());
    json_object* objects = json_object_new_object();
    json_object_object_add(whole.get(), "version", json_object_new_int(1));
    json_object_object_add(whole.get(), "objects", objects);
    for (const model::Object& object : model::objects()) {
        if (status == kDone) {
            status = addInstances(call, object, objects);
        }
    }
    if (status != kDone) {
        return status;
    }
    const int style = JSON_C_TO_STRING_NOSLASHESCAPE | (call.json ? JSON_C_TO_STRING_PLAIN : JSON_C_TO_STRING_PRETTY);
    const std::string text = json_object_to_json_string_ext(whole.get(), style);
    if (toFile) {
        return writePrivateFile(call.operands.front(), text + "\n");
    }
    puts(text.c_str());
    return kDone;
}

}  // namespace vcfgctl
