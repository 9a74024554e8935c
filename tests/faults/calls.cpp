// The system calls of the program and of the libraries in it, refused where a fault is due. Each function here has the
// name that callers know the system's by.
#include <poll.h>
#include <spawn.h>
#include <sys/epoll.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/uio.h>

#include "refusable.h"

// A call with its arguments, the error that it fails with, and what it answers then.
#define FALLIBLE_AS(result, name, error, failed, parameters, arguments) \
    REFUSABLE(System, result, name, error, failed, parameters, arguments)
#define FALLIBLE(result, name, error, parameters, arguments) FALLIBLE_AS(result, name, error, -1, parameters, arguments)

// Files.
FALLIBLE(int, open, EMFILE, (const char* path, int flags, unsigned mode), (path, flags, mode))
FALLIBLE(ssize_t, read, EIO, (int file, void* bytes, size_t size), (file, bytes, size))
FALLIBLE(ssize_t, pread, EIO, (int file, void* bytes, size_t size, off_t at), (file, bytes, size, at))
FALLIBLE(ssize_t, write, ENOSPC, (int file, const void* bytes, size_t size), (file, bytes, size))
FALLIBLE(ssize_t, pwrite, EIO, (int file, const void* bytes, size_t size, off_t at), (file, bytes, size, at))
FALLIBLE(ssize_t, writev, ENOSPC, (int file, const iovec* parts, int count), (file, parts, count))
FALLIBLE(int, fsync, EIO, (int file), (file))
FALLIBLE(int, fdatasync, EIO, (int file), (file))
FALLIBLE(int, msync, EIO, (void* begin, size_t size, int flags), (begin, size, flags))
FALLIBLE(int, ftruncate, ENOSPC, (int file, off_t size), (file, size))
FALLIBLE_AS(int, posix_fallocate, ENOSPC, ENOSPC, (int file, off_t at, off_t size), (file, at, size))
FALLIBLE(int, rename, EIO, (const char* from, const char* to), (from, to))
FALLIBLE(int, link, EIO, (const char* from, const char* to), (from, to))
FALLIBLE(int, mkdir, ENOSPC, (const char* path, mode_t mode), (path, mode))
FALLIBLE(int, stat, ENOMEM, (const char* path, struct stat* found), (path, found))
FALLIBLE(int, lstat, ENOMEM, (const char* path, struct stat* found), (path, found))
FALLIBLE(int, fstat, ENOMEM, (int file, struct stat* found), (file, found))
FALLIBLE(int, flock, ENOLCK, (int file, int operation), (file, operation))
FALLIBLE(int, inotify_init1, EMFILE, (int flags), (flags))
FALLIBLE(int, inotify_add_watch, ENOSPC, (int watch, const char* path, uint32_t mask), (watch, path, mask))
FALLIBLE_AS(void*, mmap, ENOMEM, MAP_FAILED, (void* at, size_t size, int rights, int flags, int file, off_t offset),
            (at, size, rights, flags, file, offset))

// Sockets and waiting.
FALLIBLE(int, socket, EMFILE, (int family, int type, int protocol), (family, type, protocol))
FALLIBLE(int, socketpair, EMFILE, (int family, int type, int protocol, int* ends), (family, type, protocol, ends))
FALLIBLE(int, bind, EADDRINUSE, (int socket, const sockaddr* address, socklen_t size), (socket, address, size))
FALLIBLE(int, listen, EADDRINUSE, (int socket, int backlog), (socket, backlog))
FALLIBLE(int, connect, ECONNREFUSED, (int socket, const sockaddr* address, socklen_t size), (socket, address, size))
FALLIBLE(int, accept4, EMFILE, (int socket, sockaddr* address, socklen_t* size, int flags),
         (socket, address, size, flags))
FALLIBLE(int, setsockopt, ENOMEM, (int socket, int level, int name, const void* value, socklen_t size),
         (socket, level, name, value, size))
FALLIBLE(int, getsockopt, ENOMEM, (int socket, int level, int name, void* value, socklen_t* size),
         (socket, level, name, value, size))
FALLIBLE(ssize_t, send, ENOBUFS, (int socket, const void* bytes, size_t size, int flags), (socket, bytes, size, flags))
FALLIBLE(ssize_t, sendmsg, ENOBUFS, (int socket, const msghdr* message, int flags), (socket, message, flags))
FALLIBLE(ssize_t, recv, ENOMEM, (int socket, void* bytes, size_t size, int flags), (socket, bytes, size, flags))
FALLIBLE(ssize_t, recvmsg, ENOMEM, (int socket, msghdr* message, int flags), (socket, message, flags))
FALLIBLE(int, poll, ENOMEM, (pollfd * sockets, nfds_t count, int timeoutMs), (sockets, count, timeoutMs))
FALLIBLE(int, epoll_create1, EMFILE, (int flags), (flags))
FALLIBLE(int, epoll_ctl, ENOMEM, (int set, int operation, int file, epoll_event* event), (set, operation, file, event))
FALLIBLE(int, epoll_wait, EINTR, (int set, epoll_event* events, int most, int timeoutMs),
         (set, events, most, timeoutMs))

// Processes and threads.
FALLIBLE(pid_t, fork, EAGAIN, (), ())
FALLIBLE(int, pipe2, EMFILE, (int* ends, int flags), (ends, flags))
FALLIBLE(int, dup2, EMFILE, (int file, int wanted), (file, wanted))
FALLIBLE_AS(int, pthread_create, EAGAIN, EAGAIN,
            (pthread_t * thread, const pthread_attr_t* attributes, void* (*body)(void*), void* argument),
            (thread, attributes, body, argument))
FALLIBLE_AS(int, posix_spawn, EAGAIN, EAGAIN,
            (pid_t * process, const char* path, const posix_spawn_file_actions_t* actions,
             const posix_spawnattr_t* attributes, char* const* arguments, char* const* environment),
            (process, path, actions, attributes, arguments, environment))
