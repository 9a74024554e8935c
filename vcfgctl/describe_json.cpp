#include <json-c/json.h>

#include <cstdlib>
#include <cstring>

#include "describe.h"
#include "names.h"
#include "print.h"

namespace vcfgctl {
namespace {

void put(json_object* line, const char* name, json_object* value) {
    json_object_object_add(line, name, value);
}

json_object* textOrNull(const char* text) {
    return text != nullptr ? jsonText(text) : nullptr;
}

json_object* defaultValue(const vcfg_schema_parameter_t& parameter) {
    switch (parameter.type) {
        case VCFG_TYPE_BOOLEAN:
            return json_object_new_boolean(strcmp(parameter.dflt, "true") == 0);
        case VCFG_TYPE_INT:
        case VCFG_TYPE_UINT:
        case VCFG_TYPE_LONG:
            return json_object_new_int64(strtoll(parameter.dflt, nullptr, 10));
        case VCFG_TYPE_ULONG:
            return json_object_new_uint64(strtoull(parameter.dflt, nullptr, 10));
        default:
            return jsonText(parameter.dflt);
    }
}

json_object* valuesOf(std::string_view values) {
    json_object* all = json_object_new_array();
    while (!values.empty()) {
        const size_t comma = values.find(',');
        json_object_array_add(all, jsonText(values.substr(0, comma)));
        values.remove_prefix(comma == values.npos ? values.size() : comma + 1);
    }
    return all;
}

void putParameter(json_object* line, const vcfg_schema_parameter_t& parameter) {
    put(line, "type", json_object_new_string(valueTypeName(parameter.type)));
    if (parameter.maxLength > 0) {
        put(line, "maxLength", json_object_new_int64(parameter.maxLength));
    } else if (parameter.max > 0) {
        put(line, "min", json_object_new_int64(parameter.min));
        put(line, "max", json_object_new_uint64(parameter.max));
    }
    if (parameter.values[0] != '\0') {
        put(line, "values", valuesOf(parameter.values));
    }
    put(line, "access", json_object_new_string(parameter.isWritable != 0 ? "readWrite" : "readOnly"));
    put(line, "default", defaultValue(parameter));
    put(line, "persistence", json_object_new_string(persistenceName(parameter)));
    put(line, "secret", json_object_new_boolean(parameter.isSecret));
}

void putObject(json_object* line, const vcfg_schema_object_t& object) {
    json_object* names = json_object_new_array();
    vcfg_schema_parameter_t parameter;
    for (uint32_t i = 0; vcfgSchemaParameterGet(object.oid, i, &parameter) == VCFG_OK; ++i) {
        json_object_array_add(names, jsonText(parameter.name));
    }
    put(line, "oid", json_object_new_int64(object.oid));
    put(line, "record", jsonText(object.record));
    put(line, "size", json_object_new_int64(object.recordSize));
    put(line, "parameters", names);
}

void putService(json_object* line, const vcfg_schema_service_t* service) {
    json_object* hooks = nullptr;
    json_object* server = nullptr;
    if (service != nullptr) {
        hooks = json_object_new_object();
        put(hooks, "apply", textOrNull(service->applyHook));
        put(hooks, "refresh", textOrNull(service->refreshHook));
        server = json_object_new_object();
        put(server, "name", jsonText(endpointName(service->eid)));
        put(server, "eid", json_object_new_int(service->eid));
        put(server, "process", json_object_new_int(service->process));
    }
    put(line, "hooks", hooks);
    put(line, "servedBy", server);
}

}  // namespace

json_object* descriptionJson(const Description& description) {
    json_object* line = json_object_new_object();
    const bool isParameter = description.isParameter();
    const std::string path(description.object.path);
    put(line, "path", jsonText(isParameter ? path + "." + description.parameter.name : path));
    put(line, "kind",
        json_object_new_string(isParameter                       ? "parameter"
                               : description.object.isTable != 0 ? "table"
                                                                 : "object"));
    isParameter ? putParameter(line, description.parameter) : putObject(line, description.object);
    putService(line, description.service);
    return line;
}

}  // namespace vcfgctl
