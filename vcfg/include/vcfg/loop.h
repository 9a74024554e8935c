/* For daemons that live in an event loop: descriptors to poll, receiving without waiting, changes of the data model as
   they happen, and words for what went wrong. A framework needs none of this for a daemon that has threads of its own.

   Results are those of <vcfg/codes.h>. */
#ifndef VCFG_LOOP_H
#define VCFG_LOOP_H

#include <stddef.h>
#include <stdint.h>
#include <vcfg/msg.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Readable when vcfg_msg_serverTryRecv has something to do; for poll, select and epoll. The library's: neither read nor
   closed by anybody else. -1 when no server is open for the calling thread's endpoint. */
int vcfg_msg_fd(void);

/* The next message to the calling thread's endpoint, as vcfg_msg_serverRecv hands it out; VCFG_ERR_TIMEOUT when there
   is none now. One for each time that the descriptor is readable is enough. */
int vcfg_msg_serverTryRecv(vcfg_msg_t** msg);

/* One change of the data model. The texts live until the next call with the same watch. */
typedef struct vcfg_change_t {
    const char* path;     /* "IP.Interface.1.Status", or that of an instance that came or went */
    const char* oldValue; /* as text; NULL: there was none, the instance came */
    const char* newValue; /* NULL: there is none any more, the instance went */
    const char* by;       /* who: "eid 2"; "refresh hook" for what was not written, but asked for */
    int64_t timeUs;       /* when, on CLOCK_MONOTONIC */
} vcfg_change_t;

typedef struct vcfg_watch_t vcfg_watch_t;

/* Watches `count` paths, all when it is 0: a parameter, an object with all that is below it ("IP.Interface.1."), with
   "*" for any instance. What changes after this call is told, by whomever, in the order in which it happened. On 0
   *watch is the caller's, who closes it. It may be used by one thread at a time. VCFG_ERR_FULL when vcmd has too many.
 */
int vcfgWatchOpen(const char* const* paths, size_t count, vcfg_watch_t** watch);
/* Readable when there is a change; for poll, select and epoll. */
int vcfgWatchFd(const vcfg_watch_t* watch);
/* The next change, without waiting: VCFG_ERR_TIMEOUT when there is none now. To be called until it says so: the
   descriptor tells of changes that have not been fetched together with an earlier one. VCFG_ERR_NO_PEER when vcmd has
   gone, or has closed the watch because nobody read: time to open a new one and to read what matters afresh. */
int vcfgWatchNext(vcfg_watch_t* watch, vcfg_change_t* change);
/* NULL is nothing. */
void vcfgWatchClose(vcfg_watch_t* watch);

/* A code in words, without a full stop; constant. */
const char* vcfg_codeText(int code);

/* Why vcmd refused the calling thread's last request, in one line; "" when it did not. Valid until the thread's next
   data-model operation. */
const char* vcfg_refusalText(void);

#ifdef __cplusplus
}
#endif
#endif
