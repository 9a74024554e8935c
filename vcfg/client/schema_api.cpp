// The schema of <vcfg/schema.h>, out of the model that the library is built with.
#include <vcfg/schema.h>

#include <algorithm>
#include <cstring>
#include <limits>

#include "guarded.h"
#include "model/names.h"

namespace vcfg {
namespace {

static_assert(static_cast<int>(model::Kind::Text) == VCFG_TYPE_STRING &&
                  static_cast<int>(model::Kind::Time) == VCFG_TYPE_DATE_TIME,
              "the API's types are the model's kinds, in their order");

vcfg_schema_object_t describe(const model::Object& object) {
    vcfg_schema_object_t described{};
    described.oid = object.oid;
    described.parentOid = object.parentOid;
    described.path = object.pattern;
    described.record = object.name;
    described.recordSize = object.size;
    described.parameterCount = static_cast<uint32_t>(object.parameters.size());
    described.depth = object.depth;
    described.isTable = object.isTable ? 1 : 0;
    return described;
}

template <class Number>
void describeRange(vcfg_schema_parameter_t& described) {
    described.min = static_cast<int64_t>(std::numeric_limits<Number>::min());
    described.max = static_cast<uint64_t>(std::numeric_limits<Number>::max());
}

void describeRange(model::Kind kind, vcfg_schema_parameter_t& described) {
    switch (kind) {
        case model::Kind::Int:
            return describeRange<int32_t>(described);
        case model::Kind::Uint:
            return describeRange<uint32_t>(described);
        case model::Kind::Long:
            return describeRange<int64_t>(described);
        case model::Kind::Ulong:
            return describeRange<uint64_t>(described);
        default:
            return;
    }
}

// The lines of the model may say 0 and 1; everybody else sees "false" and "true".
const char* defaultText(const model::Parameter& parameter) {
    if (parameter.kind != model::Kind::Bool) {
        return parameter.dflt;
    }
    return strcmp(parameter.dflt, "1") == 0 || strcmp(parameter.dflt, "true") == 0 ? "true" : "false";
}

vcfg_schema_parameter_t describe(const model::Parameter& parameter) {
    vcfg_schema_parameter_t described{};
    described.name = parameter.name;
    described.dflt = defaultText(parameter);
    described.values = parameter.values;
    described.type = static_cast<uint32_t>(parameter.kind);
    described.maxLength = parameter.isText() ? parameter.size - 1u : 0u;
    described.offset = parameter.offset;
    described.countedOid = parameter.countedOid;
    described.isWritable = parameter.isWritable() ? 1 : 0;
    described.isKept = parameter.isPersistent() ? 1 : 0;
    described.isSecret = parameter.isSecret() ? 1 : 0;
    describeRange(parameter.kind, described);
    return described;
}

// Null behind the last one, and for an unknown `oid`.
const model::Object* objectBehind(uint32_t oid) {
    const auto order = model::inTreeOrder();
    if (oid == RDM_OID_NONE) {
        return order.front();
    }
    const auto at = std::find_if(order.begin(), order.end(), [oid](const auto* one) { return one->oid == oid; });
    return at == order.end() || at + 1 == order.end() ? nullptr : *(at + 1);
}

int findPath(const char* path, vcfg_schema_object_t* object, objIndex* iid, vcfg_schema_parameter_t* parameter) {
    const auto found = model::named(path);
    if (!found) {
        return VCFG_ERR_NOT_FOUND;
    }
    *object = describe(*found->object);
    if (iid != nullptr) {
        *iid = found->iid;
    }
    if (parameter != nullptr) {
        *parameter = found->parameter != nullptr ? describe(*found->parameter) : vcfg_schema_parameter_t{};
    }
    return VCFG_OK;
}

}  // namespace
}  // namespace vcfg

using namespace vcfg;

int vcfgSchemaObjectGet(uint32_t oid, vcfg_schema_object_t* object) {
    const model::Object* found = model::find(oid);
    if (object == nullptr || found == nullptr) {
        return object == nullptr ? VCFG_ERR_INVALID : VCFG_ERR_NOT_FOUND;
    }
    *object = describe(*found);
    return VCFG_OK;
}

int vcfgSchemaObjectGetNext(uint32_t* oid, vcfg_schema_object_t* object) {
    if (oid == nullptr || object == nullptr) {
        return VCFG_ERR_INVALID;
    }
    return guarded([&] {
        const model::Object* found = objectBehind(*oid);
        if (found == nullptr) {
            return VCFG_ERR_NOT_FOUND;
        }
        *oid = found->oid;
        *object = describe(*found);
        return VCFG_OK;
    });
}

int vcfgSchemaParameterGet(uint32_t oid, uint32_t index, vcfg_schema_parameter_t* parameter) {
    const model::Object* object = model::find(oid);
    if (parameter == nullptr) {
        return VCFG_ERR_INVALID;
    }
    if (object == nullptr || index >= object->parameters.size()) {
        return VCFG_ERR_NOT_FOUND;
    }
    *parameter = describe(object->parameters[index]);
    return VCFG_OK;
}

int vcfgSchemaFind(const char* path, vcfg_schema_object_t* object, objIndex* iid, vcfg_schema_parameter_t* parameter) {
    if (path == nullptr || object == nullptr) {
        return VCFG_ERR_INVALID;
    }
    return findPath(path, object, iid, parameter);
}
