/* Result codes of every framework operation. 0 is success; callers need to tell no other value apart. */
#ifndef VCFG_CODES_H
#define VCFG_CODES_H

enum vcfg_code {
    VCFG_OK = 0,
    VCFG_DELIVERED = 1,      /* vcfg_msg_sendAndGetReply without a reply pointer: the message is with its receiver */
    VCFG_ERR_FAIL = -5,      /* allocation, system or data-model failure */
    VCFG_ERR_NOT_FOUND = -7, /* no such object, instance or parameter; an iteration is over */
    VCFG_ERR_INVALID = -22,  /* malformed argument, message or value; nothing was changed */
    VCFG_ERR_RIGHTS = -13,   /* the caller or the peer may not do this */
    VCFG_ERR_FULL = -28,     /* a table or a queue has no room */
    VCFG_ERR_TIMEOUT = -62,  /* the given time passed */
    VCFG_ERR_NO_PEER = -111  /* nobody serves the endpoint, or it went away during the call */
};

#endif
