/* The flight recorder: what reached each thread, and what the thread did about it. A file of 256 KiB in the run
   directory holds the latest of it, of all processes of the bus, and outlives them; `vcfgctl why` and `vcfgctl trace`
   read it. The library records by itself what goes over the bus and what is read and written of the data model. A
   program tells what else reaches it and what else it does; one that calls nothing of this loses nothing, and a
   framework may have functions here that do nothing.

   None of these fails, waits or makes a system call (but the first, which finds the file), and errno stays as it is.
   `kind` is a word ("kernel", "timer"), `what` a line for people; either is copied, cut to some 200 bytes, and has
   secrets replaced that look like such (NAME=VALUE and "NAME":"VALUE" with the name of a secret). `bytes` is all that
   arrived, for those who record whole arrivals; it may be NULL, and the ring keeps nothing of it. */
#ifndef VCFG_RECORDER_H
#define VCFG_RECORDER_H

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* The calling thread begins with something that has reached it. `cause` is the event that it goes on for, as
   vcfgEventCurrent named it in another thread; 0 stands for the event that this thread is at. The result is for
   vcfgEventEnd. A received message is an event by itself: it lasts until its thread asks for the next one. */
uint32_t vcfgEventBegin(const char* kind, uint32_t cause, const char* what, const void* bytes, size_t size);
/* The thread is done with it, and at that event again which it was at before. */
void vcfgEventEnd(uint32_t before);

/* The event that the thread is at, to go on with it elsewhere; 0 for none. */
uint32_t vcfgEventCurrent(void);

/* The thread has done something: run a command, read a file. `result` is what came of it. */
void vcfgEventStep(const char* kind, const char* what, int result, const void* bytes, size_t size);

/* The thread has written a line to its log of that name ("syslog", "stdout"), at a level as of <syslog.h>. What goes to
   vlog_log_f is told without it. Lines are for those who record whole arrivals; the ring keeps none. */
void vcfgEventSaid(const char* log, int level, const char* text, size_t size);

/* Where in the program's source the data-model operation is asked for that comes next in this thread. `file` is a
   constant. */
void vcfgEventPlace(const char* file, int line);

/* The environment for a program that this thread starts now: the process's own, with the event that the thread is at in
   VCFG_EVENT, so that the program goes on with it. Valid until the thread asks again. */
char* const* vcfgEventEnvironment(void);

#ifdef __cplusplus
}
#endif
#endif
