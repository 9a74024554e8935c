// The framework's functions, between the daemon and the store and bus of this process: refused where a fault is due.
// The linker leads the daemon's calls here (--wrap).
#include <vcfg/vcfg.h>

#include <cstdarg>
#include <cstdio>
#include <cstdlib>

#include "injector.h"

namespace {

bool refused() {
    return faults::strikes(faults::Kind::Framework);
}

// A message is taken over, whether it can be sent or not.
int keptFrom(vcfg_msg_t* message) {
    free(message);
    return VCFG_ERR_FAIL;
}

}  // namespace

// A function of the API with its arguments, and what it answers when it is refused.
#define FALLIBLE(name, parameters, arguments, failed) \
    extern "C" int __real_##name parameters;          \
    extern "C" int __wrap_##name parameters;          \
    extern "C" int __wrap_##name parameters {         \
        if (refused()) {                              \
            return failed;                            \
        }                                             \
        const faults::Spared itsOwn;                  \
        return __real_##name arguments;               \
    }

// NOLINTBEGIN(bugprone-reserved-identifier): the linker chose the names
FALLIBLE(vcfgFeObjStructGet, (uint32_t oid, objIndex* iid, void** record), (oid, iid, record), VCFG_ERR_FAIL)
FALLIBLE(vcfgFeObjStructGetWithoutUpdate, (uint32_t oid, objIndex* iid, void** record), (oid, iid, record),
         VCFG_ERR_FAIL)
FALLIBLE(vcfgFeObjStructGetNext, (uint32_t oid, objIndex* iid, void** record), (oid, iid, record), VCFG_ERR_FAIL)
FALLIBLE(vcfgFeObjStructGetNextWithoutUpdate, (uint32_t oid, objIndex* iid, void** record), (oid, iid, record),
         VCFG_ERR_FAIL)
FALLIBLE(vcfgFeSubInStructGetNext, (uint32_t oid, const objIndex* parent, objIndex* iid, void** record),
         (oid, parent, iid, record), VCFG_ERR_FAIL)
FALLIBLE(vcfgFeObjStructSet, (uint32_t oid, const objIndex* iid, const void* record, void* feedback),
         (oid, iid, record, feedback), VCFG_ERR_FAIL)
FALLIBLE(vcfgFeObjStructSetWithoutApply, (uint32_t oid, const objIndex* iid, const void* record, void* feedback),
         (oid, iid, record, feedback), VCFG_ERR_FAIL)
FALLIBLE(vcfgFeObjStructBlockedSet, (uint32_t oid, const objIndex* iid, const void* record, void* feedback),
         (oid, iid, record, feedback), VCFG_ERR_FAIL)
FALLIBLE(vcfgFeObjStructAdd, (uint32_t oid, objIndex* iid, void* feedback), (oid, iid, feedback), VCFG_ERR_FAIL)
FALLIBLE(vcfgFeObjStructDel, (uint32_t oid, const objIndex* iid, void* feedback), (oid, iid, feedback), VCFG_ERR_FAIL)
FALLIBLE(vcfgFeObjWrite, (uint32_t oid, const objIndex* iid, const char* json, uint32_t requestType, void* feedback),
         (oid, iid, json, requestType, feedback), VCFG_ERR_FAIL)
FALLIBLE(vcfgFeObjJsonSetWithAdditions,
         (uint32_t oid, const objIndex* iid, json_object* json, uint32_t additions, uint32_t requestType,
          void* feedback),
         (oid, iid, json, additions, requestType, feedback), VCFG_ERR_FAIL)
FALLIBLE(vcfg_msg_serverRecv, (vcfg_msg_t * *message, uint32_t timeoutMs), (message, timeoutMs), VCFG_ERR_FAIL)
FALLIBLE(vcfg_msg_serverSend, (vcfg_msg_t * message), (message), keptFrom(message))
FALLIBLE(vcfg_msg_sendAndGetReply, (vcfg_msg_t * message, vcfg_msg_t** reply, uint32_t timeoutMs),
         (message, reply, timeoutMs), keptFrom(message))
FALLIBLE(vos_system, (int flag, const char* command), (flag, command), 0)
FALLIBLE(voUtilTcpConnInit, (const char* path), (path), VCFG_ERR_FAIL)
FALLIBLE(voUtilHandleRecvdMsgDebugCfg, (const vcfg_msg_t* message), (message), VCFG_ERR_INVALID)
FALLIBLE(voUtilMailSend, (const char* request), (request), VCFG_ERR_FAIL)

// What cannot fail has memory of its own, too.
extern "C" uint32_t __real_vos_mtime_get(void);
extern "C" uint32_t __wrap_vos_mtime_get(void);
extern "C" uint32_t __wrap_vos_mtime_get(void) {
    const faults::Spared itsOwn;
    return __real_vos_mtime_get();
}

extern "C" void __real_vlog_log_f(int level, const char* source, int line, const char* function, const char* format,
                                  ...);
extern "C" void __wrap_vlog_log_f(int level, const char* source, int line, const char* function, const char* format,
                                  ...) __attribute__((format(printf, 5, 6)));
extern "C" void __wrap_vlog_log_f(int level, const char* source, int line, const char* function, const char* format,
                                  ...) {
    const faults::Spared itsOwn;
    char text[4096];
    va_list arguments;
    va_start(arguments, format);
    vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
    __real_vlog_log_f(level, source, line, function, "%s", text);
}
// NOLINTEND(bugprone-reserved-identifier)
