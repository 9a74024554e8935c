/* Preloaded into one process, whose clock somebody sets: how far, in seconds, is in a file. */
#include <dlfcn.h>
#include <stdio.h>
#include <time.h>

int clock_gettime(clockid_t clock, struct timespec* time) {
    static int (*next)(clockid_t, struct timespec*);
    if (!next)
        *(void**)&next = dlsym(RTLD_NEXT, "clock_gettime");
    const int result = next(clock, time);
    FILE* const file = clock == CLOCK_REALTIME ? fopen("/tmp/clock", "re") : NULL;
    long seconds = 0;
    if (file && fscanf(file, "%ld", &seconds) == 1)
        time->tv_sec += seconds;
    if (file)
        fclose(file);
    return result;
}
