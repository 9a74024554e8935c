// What the daemon's grip on the system calls beyond what other programs here do.
#include <sys/sysinfo.h>
#include <sys/utsname.h>

#include <csignal>
#include <cstdio>

#include "refusable.h"

#define FALLIBLE(result, name, error, failed, parameters, arguments) \
    REFUSABLE(System, result, name, error, failed, parameters, arguments)

FALLIBLE(FILE*, fopen, EMFILE, nullptr, (const char* path, const char* mode), (path, mode))
FALLIBLE(FILE*, fdopen, ENOMEM, nullptr, (int file, const char* mode), (file, mode))
FALLIBLE(size_t, fread, EIO, 0, (void* bytes, size_t size, size_t count, FILE* file), (bytes, size, count, file))
FALLIBLE(size_t, fwrite, ENOSPC, 0, (const void* bytes, size_t size, size_t count, FILE* file),
         (bytes, size, count, file))
FALLIBLE(int, kill, EPERM, -1, (pid_t process, int signal), (process, signal))
FALLIBLE(int, access, EACCES, -1, (const char* path, int mode), (path, mode))
FALLIBLE(int, sysinfo, EFAULT, -1, (struct sysinfo * about), (about))
FALLIBLE(int, uname, EFAULT, -1, (utsname * names), (names))
