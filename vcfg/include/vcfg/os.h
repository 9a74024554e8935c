/* The platform's logging, operating-system and utility helpers. */
#ifndef VCFG_OS_H
#define VCFG_OS_H

#include <vcfg/msg.h>

#ifdef __cplusplus
extern "C" {
#endif

enum vlog_level { VLOG_ERROR = 3, VLOG_WARNING = 4, VLOG_INFO = 6, VLOG_DEBUG = 7 };

/* Non-zero when lines of that level are wanted from this daemon now. */
int vlog_levelAllow(int level);
/* Writes one line, tagged with source file (without extension), line and function. */
void vlog_log_f(int level, const char* source, int line, const char* function, const char* format, ...)
    __attribute__((format(printf, 5, 6)));

/* Monotonic time in milliseconds; wraps after 49 days. */
uint32_t vos_mtime_get(void);
/* Runs a shell command (`flag` is 1); returns 1 when it ran and its exit status was 0. */
int vos_system(int flag, const char* command);

/* Takes a debug-configuration message: 0 when it was one and has been handled, non-zero for every other message. */
int voUtilHandleRecvdMsgDebugCfg(const vcfg_msg_t* msg);
/* A local stream socket: a descriptor that listens at `path`, with mode 0600, and a connection to what listens there.
   Both are the caller's, who closes them; a negative value is a failure. A socket that a dead process left at the path
   is replaced; anything else there is left alone and is a failure. Connecting, and sending on the connection, wait up
   to five seconds for a listener that is behind. */
int voUtilTcpSvrInit(const char* path);
int voUtilTcpConnInit(const char* path);
/* Sends the mail that a JSON request describes; 0 when the server has accepted it. */
int voUtilMailSend(const char* request);

#ifdef __cplusplus
}
#endif
#endif
