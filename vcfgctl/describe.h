// What there is to say about one name of the model.
#pragma once

#include <vcfg/schema.h>

struct json_object;

namespace vcfgctl {

struct Description {
    vcfg_schema_object_t object;
    vcfg_schema_parameter_t parameter;     // without a name when it is the object that is described
    const vcfg_schema_service_t* service;  // null while it is unknown

    bool isParameter() const { return parameter.name != nullptr; }
};

const char* valueTypeName(uint32_t type);
const char* persistenceName(const vcfg_schema_parameter_t& parameter);

void printDescription(const Description& description);
json_object* descriptionJson(const Description& description);

}  // namespace vcfgctl
