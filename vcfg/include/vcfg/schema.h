/* The data model's schema at run time: which objects and parameters there are, what each takes, and who serves it. For
   agents and tools that handle parameters by name; a daemon that knows its records needs nothing of this.

   All operations return 0 on success, VCFG_ERR_NOT_FOUND for what the model does not have, VCFG_ERR_INVALID for a null
   argument that is none of those that may be NULL, and VCFG_ERR_FAIL when memory is short; on failure nothing is handed
   out. All may be called from several threads at once. Only vcfgSchemaServiceGet asks vcmd: the others answer from the
   library, before any endpoint is opened.

   A description is filled in where the caller wants it, and its texts are the library's: constant, and there as long as
   the library is loaded. Paths are as in <vcfg/rdm.h>, without "Device." at the front; where one is taken it may be
   there. */
#ifndef VCFG_SCHEMA_H
#define VCFG_SCHEMA_H

#include <stddef.h>
#include <vcfg/rdm.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef enum vcfg_schema_type {
    VCFG_TYPE_BOOLEAN, /* uint8_t in the record */
    VCFG_TYPE_INT,     /* int32_t */
    VCFG_TYPE_UINT,    /* uint32_t */
    VCFG_TYPE_LONG,    /* int64_t */
    VCFG_TYPE_ULONG,   /* uint64_t */
    VCFG_TYPE_STRING,  /* this and all that follow: char[maxLength + 1], UTF-8, may be empty */
    VCFG_TYPE_ENUMERATION,
    VCFG_TYPE_IPV4_ADDRESS,
    VCFG_TYPE_IPV6_ADDRESS,
    VCFG_TYPE_IP_ADDRESS,
    VCFG_TYPE_IPV6_PREFIX,
    VCFG_TYPE_MAC_ADDRESS,
    VCFG_TYPE_DATE_TIME
} vcfg_schema_type;

typedef struct vcfg_schema_object_t {
    uint32_t oid;
    uint32_t parentOid;      /* the table whose instances it lies below; RDM_OID_NONE for none */
    const char* path;        /* "IP.Interface.{i}.IPv4Address.{i}" */
    const char* record;      /* "IpInterfaceIpv4Address", its type in <vcfg/rdm.h> */
    uint32_t recordSize;     /* in bytes */
    uint32_t parameterCount; /* may be 0 */
    uint8_t depth;           /* instance numbers in the path of an instance */
    uint8_t isTable;         /* 1: instances are added and deleted; 0: there is one, or one per instance above it */
} vcfg_schema_object_t;

typedef struct vcfg_schema_parameter_t {
    const char* name;
    const char* dflt;    /* value of a new instance, as text: "false", "0", "Down" */
    const char* values;  /* of an enumeration: comma-separated; else "" */
    int64_t min;         /* of a number; else 0 */
    uint64_t max;        /* of a number; else 0 */
    uint32_t type;       /* vcfg_schema_type */
    uint32_t maxLength;  /* of a text: bytes without the NUL; else 0 */
    uint32_t offset;     /* in the record */
    uint32_t countedOid; /* of "<Table>NumberOfEntries": the table counted; nobody writes it. RDM_OID_NONE for others */
    uint8_t isWritable;  /* 1: whoever configures the device may write it; 0: only the daemon that reports it */
    uint8_t isKept;      /* 1: configuration, which outlives a power cycle; 0: state, which begins at `dflt` then */
    uint8_t isSecret;    /* 1: authenticates somebody, and is shown to nobody */
} vcfg_schema_parameter_t;

typedef struct vcfg_schema_service_t {
    const char* applyHook;   /* the program that runs after a write with apply; NULL when there is none now */
    const char* refreshHook; /* the program that runs before a read that asks for fresh values; NULL the same way */
    int32_t process;         /* the process that serves the object */
    uint8_t eid;             /* and its endpoint */
} vcfg_schema_service_t;

/* One object by its id. */
int vcfgSchemaObjectGet(uint32_t oid, vcfg_schema_object_t* object);
/* The object behind that one in tree order: each stands before what lies below it. Begins with RDM_OID_NONE; `oid`
   becomes the one found. VCFG_ERR_NOT_FOUND behind the last, and for an `oid` that the model does not have. */
int vcfgSchemaObjectGetNext(uint32_t* oid, vcfg_schema_object_t* object);
/* An object's parameter, 0 to parameterCount - 1. */
int vcfgSchemaParameterGet(uint32_t oid, uint32_t index, vcfg_schema_parameter_t* parameter);

/* What a path names, whether or not such an instance is there. An instance number may be "{i}" or "*", which reads as 0
   in `iid`, and the last one of a table may be missing: "IP.Interface", level 0. A dot may follow an object's path.
   `parameter->name` is NULL when the path names an object. `iid` and `parameter` may be NULL. Names that only objects
   lie below ("DHCPv4") are no objects. */
int vcfgSchemaFind(const char* path, vcfg_schema_object_t* object, objIndex* iid, vcfg_schema_parameter_t* parameter);
/* The path of an instance, its numbers 1 to 255; places behind `iid->level`, or all when `iid` is NULL, stay "{i}".
   VCFG_ERR_FULL when `size` bytes do not hold it and its NUL; 512 always do. */
int vcfgSchemaPathText(uint32_t oid, const objIndex* iid, char* text, size_t size);

/* Whether a write would take the value: 0, or VCFG_ERR_INVALID with what would be accepted in `why`, cut to `size`
   bytes. Access is not looked at. `why` may be NULL. */
int vcfgSchemaValueCheck(uint32_t oid, const char* parameter, const char* value, char* why, size_t size);

/* Who serves an object now, and which hooks it has. The record and its texts are one block: the caller's, who frees it
   with free(). Fails with the call's code while vcmd is away (VCFG_ERR_NO_PEER), and when it does not answer within ten
   seconds (VCFG_ERR_TIMEOUT). */
int vcfgSchemaServiceGet(uint32_t oid, vcfg_schema_service_t** service);

#ifdef __cplusplus
}
#endif
#endif
