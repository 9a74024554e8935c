// Paths and values of <vcfg/schema.h>.
#include <vcfg/schema.h>

#include <algorithm>
#include <cstring>
#include <vector>

#include "guarded.h"
#include "model/describe.h"

namespace vcfg {
namespace {

bool isInstanceOf(const model::Object& object, const objIndex& iid) {
    return iid.level <= object.depth && std::find(iid.idx, iid.idx + iid.level, 0) == iid.idx + iid.level;
}

int pathText(const model::Object& object, const objIndex* iid, char* text, size_t size) {
    if (iid != nullptr && !isInstanceOf(object, *iid)) {
        return VCFG_ERR_INVALID;
    }
    const std::string path = iid != nullptr ? model::path(object, *iid) : object.pattern;
    if (path.size() >= size) {
        return VCFG_ERR_FULL;
    }
    memcpy(text, path.c_str(), path.size() + 1);
    return VCFG_OK;
}

void handOut(std::string_view reason, char* why, size_t size) {
    if (why != nullptr && size > 0) {
        const size_t length = fittingSize(reason, size - 1);
        reason.copy(why, length);
        why[length] = '\0';
    }
}

int checkValue(const model::Object& object, const char* name, const char* value, char* why, size_t size) {
    const model::Parameter* parameter = model::find(object, name);
    if (parameter == nullptr) {
        return VCFG_ERR_NOT_FOUND;
    }
    std::string reason = "is counted, it cannot be written";
    std::vector<std::byte> scratch(object.size);
    if (parameter->countedOid == RDM_OID_NONE && model::setValue(*parameter, scratch.data(), value, &reason)) {
        return VCFG_OK;
    }
    handOut(reason, why, size);
    return VCFG_ERR_INVALID;
}

}  // namespace
}  // namespace vcfg

using namespace vcfg;

int vcfgSchemaPathText(uint32_t oid, const objIndex* iid, char* text, size_t size) {
    const model::Object* object = model::find(oid);
    if (text == nullptr || object == nullptr) {
        return text == nullptr ? VCFG_ERR_INVALID : VCFG_ERR_NOT_FOUND;
    }
    return guarded([&] { return pathText(*object, iid, text, size); });
}

int vcfgSchemaValueCheck(uint32_t oid, const char* parameter, const char* value, char* why, size_t size) {
    const model::Object* object = model::find(oid);
    if (parameter == nullptr || value == nullptr) {
        return VCFG_ERR_INVALID;
    }
    return object == nullptr ? VCFG_ERR_NOT_FOUND
                             : guarded([&] { return checkValue(*object, parameter, value, why, size); });
}
