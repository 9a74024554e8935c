/* The data model's records: RDM_OID_* numbers, one struct per object, and in C++ the way from a record type to its id.
   Everything here is made from vcfg/model; a record is flat, of fixed size and free of pointers. */
#ifndef VCFG_RDM_H
#define VCFG_RDM_H

#include <stdint.h>
#include <vcfg/model_id.h>
#include <vcfg/msg.h>
#include <vcfg/text.h>

typedef enum rdm_oid {
    RDM_OID_NONE = 0,
#define RDM_OBJECT(type, id, path) RDM_OID_##id,
#include <vcfg/model/all.def>
    RDM_OID_COUNT
} rdm_oid;

#ifdef __cplusplus
#define RDM_CHARACTERS(name, size) ::vcfg::Text<size> name;
#else
#define RDM_CHARACTERS(name, size) char name[(size) + 1];
#endif

#define RDM_OBJECT(type, id, path) \
    typedef struct type type;      \
    struct type {
#define RDM_END \
    }           \
    ;
#define RDM_BOOL(name, access, dflt) uint8_t name;
#define RDM_INT(name, access, dflt) int32_t name;
#define RDM_UINT(name, access, dflt) uint32_t name;
#define RDM_LONG(name, access, dflt) int64_t name;
#define RDM_ULONG(name, access, dflt) uint64_t name;
#define RDM_TEXT(name, size, access, dflt) RDM_CHARACTERS(name, size)
#define RDM_ENUM(name, size, access, dflt, values) RDM_CHARACTERS(name, size)
#define RDM_IPV4(name, access, dflt) RDM_CHARACTERS(name, 15)
#define RDM_IPV6(name, access, dflt) RDM_CHARACTERS(name, 45)
#define RDM_IP(name, access, dflt) RDM_CHARACTERS(name, 45)
#define RDM_IPV6_PREFIX(name, access, dflt) RDM_CHARACTERS(name, 49)
#define RDM_MAC(name, access, dflt) RDM_CHARACTERS(name, 17)
#define RDM_TIME(name, access, dflt) RDM_CHARACTERS(name, 31)
#include <vcfg/model/all.def>

#undef RDM_CHARACTERS

/* The model that the program's records are made from. libvcfg looks at it once, at the program's first call, and
   refuses a program whose records are not its own. Another library need not know of it. */
#ifdef __cplusplus
extern "C" {
#endif
__attribute__((weak, visibility("default"))) uint64_t vcfg_modelOfProgram = VCFG_MODEL_ID;
#ifdef __cplusplus
}
#endif

#ifdef __cplusplus
namespace vcfg {

template <class RecordType>
struct ObjectId;
#define RDM_OBJECT(type, id, path)                                       \
    template <>                                                          \
    struct ObjectId<type> {                                              \
        static constexpr uint32_t value = RDM_OID_##id;                  \
        static constexpr const char* pattern = path;                     \
        static_assert(sizeof(type) <= 32768, "a record fits a message"); \
    };
#include <vcfg/model/all.def>

}  // namespace vcfg
#endif
#endif
