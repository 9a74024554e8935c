#include "describe.h"

#include <array>
#include <cstddef>
#include <cstring>

namespace vcfg::model {
namespace {

constexpr std::string_view kInstance = ".{i}";
constexpr std::string_view kCount = "NumberOfEntries";

constexpr std::string_view kPatterns[] = {
#define RDM_OBJECT(type, id, path) path,
#include <vcfg/model/all.def>
};

constexpr uint32_t oidOf(std::string_view pattern) {
    for (uint32_t oid = 1; oid <= std::size(kPatterns); ++oid) {
        if (kPatterns[oid - 1] == pattern) {
            return oid;
        }
    }
    return RDM_OID_NONE;
}

constexpr bool isTable(std::string_view pattern) {
    return pattern.ends_with(kInstance);
}

constexpr uint8_t depthOf(std::string_view pattern) {
    uint8_t depth = 0;
    for (size_t at = pattern.find(kInstance); at != pattern.npos; at = pattern.find(kInstance, at + 1)) {
        ++depth;
    }
    return depth;
}

constexpr uint32_t parentOf(std::string_view pattern) {
    if (isTable(pattern)) {
        pattern.remove_suffix(kInstance.size());
    }
    const size_t last = pattern.rfind(kInstance);
    return last == pattern.npos ? uint32_t{RDM_OID_NONE} : oidOf(pattern.substr(0, last + kInstance.size()));
}

// Whether `pattern` is `owner`'s child table with that name.
constexpr bool isChildTable(std::string_view pattern, std::string_view owner, std::string_view name) {
    return pattern.size() == owner.size() + 1 + name.size() + kInstance.size() && pattern.starts_with(owner) &&
           pattern[owner.size()] == '.' && pattern.substr(owner.size() + 1, name.size()) == name && isTable(pattern);
}

constexpr uint32_t countedBy(std::string_view owner, std::string_view parameter) {
    if (!parameter.ends_with(kCount)) {
        return RDM_OID_NONE;
    }
    parameter.remove_suffix(kCount.size());
    for (uint32_t oid = 1; oid <= std::size(kPatterns); ++oid) {
        if (isChildTable(kPatterns[oid - 1], owner, parameter)) {
            return oid;
        }
    }
    return RDM_OID_NONE;
}

template <class RecordType>
struct Parameters;

#define RDM_FIELD(name, kind, access, dflt, values) \
    RDM_FIELD_COUNTING(name, kind, access, dflt, values, countedBy(ObjectId<R>::pattern, #name))
#define RDM_FIELD_COUNTING(name, kind, access, dflt, values, countedOid) \
    {#name, Kind::kind, Access::access, sizeof(R::name), offsetof(R, name), dflt, values, countedOid},
#define RDM_OBJECT(type, id, path) \
    template <>                    \
    struct Parameters<type> {      \
        using R = type;            \
        static constexpr Parameter all[] = {
#define RDM_END \
    }           \
    ;           \
    }           \
    ;
#define RDM_BOOL(name, access, dflt) RDM_FIELD(name, Bool, access, #dflt, "")
#define RDM_INT(name, access, dflt) RDM_FIELD(name, Int, access, #dflt, "")
#define RDM_UINT(name, access, dflt) RDM_FIELD(name, Uint, access, #dflt, "")
#define RDM_REPORTED_COUNT(name, access, dflt) RDM_FIELD_COUNTING(name, Uint, access, #dflt, "", RDM_OID_NONE)
#define RDM_LONG(name, access, dflt) RDM_FIELD(name, Long, access, #dflt, "")
#define RDM_ULONG(name, access, dflt) RDM_FIELD(name, Ulong, access, #dflt, "")
#define RDM_TEXT(name, size, access, dflt) RDM_FIELD(name, Text, access, dflt, "")
#define RDM_ENUM(name, size, access, dflt, values) RDM_FIELD(name, Enum, access, dflt, values)
#define RDM_IPV4(name, access, dflt) RDM_FIELD(name, Ipv4, access, dflt, "")
#define RDM_IPV6(name, access, dflt) RDM_FIELD(name, Ipv6, access, dflt, "")
#define RDM_IP(name, access, dflt) RDM_FIELD(name, Ip, access, dflt, "")
#define RDM_IPV6_PREFIX(name, access, dflt) RDM_FIELD(name, Ipv6Prefix, access, dflt, "")
#define RDM_MAC(name, access, dflt) RDM_FIELD(name, Mac, access, dflt, "")
#define RDM_TIME(name, access, dflt) RDM_FIELD(name, Time, access, dflt, "")
#include <vcfg/model/all.def>
#undef RDM_FIELD
#undef RDM_FIELD_COUNTING

constexpr Object kObjects[] = {
#define RDM_OBJECT(type, id, path) \
    {RDM_OID_##id, #type, path, sizeof(type), depthOf(path), isTable(path), parentOf(path), Parameters<type>::all},
#include <vcfg/model/all.def>
};

constexpr bool parentsAreThere() {
    for (const Object& object : kObjects) {
        const bool below = object.depth > (object.isTable ? 1 : 0);
        if (below != (object.parentOid != RDM_OID_NONE) || object.depth > sizeof(objIndex::idx)) {
            return false;
        }
    }
    return true;
}
static_assert(parentsAreThere(), "every object lies at most six instances deep, below tables that the model has");

}  // namespace

std::span<const Object> objects() {
    return kObjects;
}

const Object* find(uint32_t oid) {
    return oid >= 1 && oid <= std::size(kObjects) ? &kObjects[oid - 1] : nullptr;
}

const Parameter* find(const Object& object, std::string_view parameter) {
    for (const Parameter& one : object.parameters) {
        if (parameter == one.name) {
            return &one;
        }
    }
    return nullptr;
}

void setDefaults(const Object& object, void* record) {
    std::memset(record, 0, object.size);
    for (const Parameter& parameter : object.parameters) {
        setValue(parameter, record, parameter.dflt, nullptr);
    }
}

}  // namespace vcfg::model
