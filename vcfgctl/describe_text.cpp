#include <cinttypes>
#include <cstdio>

#include "describe.h"
#include "names.h"

namespace vcfgctl {
namespace {

const char* const kTypeNames[] = {"boolean",    "int",         "unsignedInt", "long",        "unsignedLong",
                                  "string",     "enumeration", "IPv4Address", "IPv6Address", "IPAddress",
                                  "IPv6Prefix", "MACAddress",  "dateTime"};

void printRange(const vcfg_schema_parameter_t& parameter) {
    if (parameter.maxLength > 0) {
        printf("length: 0 to %" PRIu32 "\n", parameter.maxLength);
    } else if (parameter.max > 0) {
        printf("range: %" PRId64 " to %" PRIu64 "\n", parameter.min, parameter.max);
    }
    if (parameter.values[0] != '\0') {
        printf("values: %s\n", parameter.values);
    }
}

void printParameter(const vcfg_schema_parameter_t& parameter) {
    printf("type: %s\n", valueTypeName(parameter.type));
    printRange(parameter);
    printf("access: %s\n", parameter.isWritable != 0 ? "readWrite" : "readOnly");
    printf("default: %s\n", parameter.dflt);
    printf("persistence: %s\n", persistenceName(parameter));
    printf("secret: %s\n", parameter.isSecret != 0 ? "yes" : "no");
}

void printObject(const vcfg_schema_object_t& object) {
    printf("oid: %" PRIu32 "\n", object.oid);
    printf("record: %s\n", object.record);
    printf("size: %" PRIu32 "\n", object.recordSize);
    printf("parameters: %" PRIu32 "\n", object.parameterCount);
}

void printHook(const char* kind, const char* program) {
    printf("%s: %s\n", kind, program != nullptr ? program : "none");
}

void printService(const vcfg_schema_service_t* service) {
    if (service == nullptr) {
        puts("served by: nobody; its hooks are unknown");
        return;
    }
    printHook("apply hook", service->applyHook);
    printHook("refresh hook", service->refreshHook);
    printf("served by: endpoint %s, process %" PRId32 "\n", endpointText(service->eid).c_str(), service->process);
}

}  // namespace

const char* valueTypeName(uint32_t type) {
    return kTypeNames[type];
}

const char* persistenceName(const vcfg_schema_parameter_t& parameter) {
    if (parameter.countedOid != RDM_OID_NONE) {
        return "counted";
    }
    return parameter.isKept != 0 ? "configuration" : "state";
}

void printDescription(const Description& description) {
    const char* kind = description.isParameter() ? "parameter" : description.object.isTable != 0 ? "table" : "object";
    const char* dot = description.isParameter() ? "." : "";
    const char* name = description.isParameter() ? description.parameter.name : "";
    printf("path: %s%s%s\nkind: %s\n", description.object.path, dot, name, kind);
    if (description.isParameter()) {
        printParameter(description.parameter);
    } else {
        printObject(description.object);
    }
    printService(description.service);
}

}  // namespace vcfgctl
