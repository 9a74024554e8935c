#include "describe.h"

#include <array>
#include <cstddef>

namespace vcfg::model {
namespace {

template <class RecordType> struct Parameters;

#define RDM_FIELD(name, kind, access, dflt, values)                                                                \
    {#name, Kind::kind, Access::access, sizeof(R::name), offsetof(R, name), dflt, values, RDM_OID_NONE},
#define RDM_OBJECT(type, id, path)      \
    template <> struct Parameters<type> { \
        using R = type;                 \
        static constexpr Parameter all[] = {
#define RDM_END \
    }           \
    ;           \
    }           \
    ;
#define RDM_BOOL(name, access, dflt) RDM_FIELD(name, Bool, access, #dflt, "")
#define RDM_INT(name, access, dflt) RDM_FIELD(name, Int, access, #dflt, "")
#define RDM_UINT(name, access, dflt) RDM_FIELD(name, Uint, access, #dflt, "")
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

}  // namespace
}  // namespace vcfg::model
