// The framework's functions that the daemon calls from its start on, refused where a fault is due.
#include <vcfg/vcfg.h>

#include <cstdlib>

#include "refusable.h"

namespace {

// A message is taken over, whether it can be sent or not.
int keptFrom(vcfg_msg_t* message) {
    free(message);
    return VCFG_ERR_FAIL;
}

}  // namespace

#define FALLIBLE(name, parameters, arguments, failed) \
    REFUSABLE(Framework, int, name, EAGAIN, failed, parameters, arguments)

FALLIBLE(vcfg_msg_eidInit, (uint8_t eid, const char* name), (eid, name), VCFG_ERR_FAIL)
FALLIBLE(vcfg_msg_serverInit, (), (), VCFG_ERR_FAIL)
FALLIBLE(vcfg_msg_serverRecv, (vcfg_msg_t * *message, uint32_t timeoutMs), (message, timeoutMs), VCFG_ERR_FAIL)
FALLIBLE(vcfg_msg_serverSend, (vcfg_msg_t * message), (message), keptFrom(message))
FALLIBLE(vcfg_msg_sendAndGetReply, (vcfg_msg_t * message, vcfg_msg_t** reply, uint32_t timeoutMs),
         (message, reply, timeoutMs), keptFrom(message))
FALLIBLE(voUtilTcpSvrInit, (const char* path), (path), VCFG_ERR_FAIL)
FALLIBLE(voUtilTcpConnInit, (const char* path), (path), VCFG_ERR_FAIL)
FALLIBLE(vcfgFeDebugCfgObjInit, (const char* name), (name), VCFG_ERR_FAIL)
FALLIBLE(vcfgFeObjStructGet, (uint32_t oid, objIndex* iid, void** record), (oid, iid, record), VCFG_ERR_FAIL)
FALLIBLE(vcfgFeObjStructGetNext, (uint32_t oid, objIndex* iid, void** record), (oid, iid, record), VCFG_ERR_FAIL)
