/* The message bus: envelope, endpoint ids and operations. */
#ifndef VCFG_MSG_H
#define VCFG_MSG_H

#include <stddef.h>
#include <stdint.h>
#include <vcfg/codes.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Instance-id record: how many index bytes are in use, and the instance numbers (1..255), outermost first.
   All zero addresses a single object, or starts an iteration. */
typedef struct objIndex {
    uint8_t level;
    uint8_t idx[6];
} objIndex;

/* A message: 56 bytes of envelope, then `length` bytes of payload. The fields are in the machine's byte order here and
   little-endian on the wire; the library converts. A received message always has one NUL byte after its payload. */
typedef struct vcfg_msg {
    uint32_t type;        /* message type; VCFG_MSG_NO_REPLY set: the sender expects no answer */
    uint32_t oid;         /* RDM_OID_* of the object concerned, 0 for none */
    uint8_t srcEid;       /* sender; not trusted for rights */
    uint8_t dstEid;       /* receiver */
    uint16_t length;      /* bytes of payload, 0..65535 */
    uint32_t requestId;   /* the sender's handle; a reply carries it back unchanged */
    uint32_t statCode;    /* in a reply: the result */
    uint8_t reserved[28]; /* zero; a wireless request has its interface's name in the first VCFG_MSG_IFNAME_SIZE */
    objIndex objIid;      /* instance concerned */
    uint8_t spare;        /* zero */
} vcfg_msg_t;

/* The payload, mostly a NUL-terminated text, begins right behind the envelope. */
static inline char* vcfg_msg_payload(vcfg_msg_t* msg) {
    return (char*)(msg + 1);
}
static inline const char* vcfg_msg_text(const vcfg_msg_t* msg) {
    return (const char*)(msg + 1);
}

#define VCFG_MSG_HEADER_SIZE 56u
#define VCFG_MSG_PAYLOAD_MAX 65535u
#define VCFG_MSG_IFNAME_SIZE 18u
#define VCFG_MSG_NO_REPLY 0x80000000u

enum vcfg_eid {
    VCFG_EID_VCMD = 1,
    VCFG_EID_TARN = 2,
    VCFG_EID_TR069 = 9,
    VCFG_EID_VHTTPD = 15,
    VCFG_EID_VCAUTOHUNT = 28,
    VCFG_EID_VLANAUTOHUNT = 37,
    VCFG_EID_WIRELESS = 40,
    VCFG_EID_TARN_GROUND = 66
};

/* Registers the calling thread as endpoint `eid` (1..255). `name` tags its log lines and may be NULL. The first
   endpoint that a process registers is also that of its threads which register none. Returns 0; VCFG_ERR_RIGHTS when
   the run directory belongs to somebody else, VCFG_ERR_INVALID, VCFG_ERR_FAIL. */
int vcfg_msg_eidInit(uint8_t eid, const char* name);

/* Opens the server socket of the calling thread's endpoint. The newest process to do so serves the endpoint. */
int vcfg_msg_serverInit(void);

/* Waits up to `timeoutMs` (0: without limit) for a message to the calling thread's endpoint. On 0, *msg is a new
   message which the caller frees with free(). VCFG_ERR_TIMEOUT, VCFG_ERR_INVALID (no server open), VCFG_ERR_FAIL. */
int vcfg_msg_serverRecv(vcfg_msg_t** msg, uint32_t timeoutMs);

/* Sends a reply to the requester that `dstEid` and `requestId` name, on the connection its request came by; when that
   requester did not wait, to its endpoint as a message. Takes over `msg` (allocated with malloc) whatever the result.
   Never blocks on a requester that does not read: VCFG_ERR_FULL. VCFG_ERR_NO_PEER when it is gone. */
int vcfg_msg_serverSend(vcfg_msg_t* msg);

/* Sends `msg` to its `dstEid`. With `reply`, waits for the answer: on 0 *reply is a new message which the caller frees.
   Without, returns VCFG_DELIVERED (1) as soon as the message is in the receiver's queue. `timeoutMs` bounds the whole
   call, 0 waits without limit; the loss of the peer always ends the wait. Takes over `msg` whatever the result.
   VCFG_ERR_NO_PEER, VCFG_ERR_TIMEOUT, VCFG_ERR_RIGHTS, VCFG_ERR_INVALID. */
int vcfg_msg_sendAndGetReply(vcfg_msg_t* msg, vcfg_msg_t** reply, uint32_t timeoutMs);

#ifdef __cplusplus
}
static_assert(sizeof(objIndex) == 7, "the instance-id record is seven bytes");
static_assert(offsetof(vcfg_msg_t, objIid) == 48 && sizeof(vcfg_msg_t) == VCFG_MSG_HEADER_SIZE,
              "the envelope is 56 bytes");
#endif
#endif
