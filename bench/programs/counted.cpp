// Preloaded into the daemon: says what each event cost it. BENCH_EVENTS names a pipe; a line of JSON goes there when a
// handler has returned, and another one when each of the threads that it started has ended.
#include <dlfcn.h>
#include <linux/netlink.h>
#include <pthread.h>
#include <spawn.h>
#include <sys/select.h>
#include <sys/socket.h>
#include <vcfg/vcfg.h>

#include <cstdio>
#include <cstdlib>

#include "counted_event.h"

namespace {

using namespace counted;

constexpr int kLinkMonitorProtocol = 25;

// The commands that the daemon runs have no business with it.
__attribute__((constructor)) void countOnlyHere() {
    unsetenv("LD_PRELOAD");
}

template <class Function>
Function* next(const char* name) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

}  // namespace

#define REAL(name) static auto* const real = next<decltype(::name)>(#name)
#define COUNTED(what, name, parameters, arguments) \
    int name parameters {                          \
        REAL(name);                                \
        const Call call(&Event::what);             \
        return real arguments;                     \
    }

extern "C" {
COUNTED(reads, vcfgFeObjStructGet, (uint32_t oid, objIndex* iid, void** record), (oid, iid, record))
COUNTED(reads, vcfgFeObjStructGetWithoutUpdate, (uint32_t oid, objIndex* iid, void** record), (oid, iid, record))
COUNTED(reads, vcfgFeObjStructGetNext, (uint32_t oid, objIndex* iid, void** record), (oid, iid, record))
COUNTED(reads, vcfgFeObjStructGetNextWithoutUpdate, (uint32_t oid, objIndex* iid, void** record), (oid, iid, record))
COUNTED(reads, vcfgFeSubInStructGetNext, (uint32_t oid, const objIndex* parent, objIndex* iid, void** record),
        (oid, parent, iid, record))
COUNTED(writes, vcfgFeObjStructSet, (uint32_t oid, const objIndex* iid, const void* record, void* feedback),
        (oid, iid, record, feedback))
COUNTED(writes, vcfgFeObjStructSetWithoutApply, (uint32_t oid, const objIndex* iid, const void* record, void* feedback),
        (oid, iid, record, feedback))
COUNTED(writes, vcfgFeObjStructBlockedSet, (uint32_t oid, const objIndex* iid, const void* record, void* feedback),
        (oid, iid, record, feedback))
COUNTED(writes, vcfgFeObjStructAdd, (uint32_t oid, objIndex* iid, void* feedback), (oid, iid, feedback))
COUNTED(writes, vcfgFeObjStructDel, (uint32_t oid, const objIndex* iid, void* feedback), (oid, iid, feedback))
COUNTED(writes, vcfgFeObjWrite, (uint32_t oid, const objIndex* iid, const char* json, uint32_t type, void* feedback),
        (oid, iid, json, type, feedback))
COUNTED(writes, vcfgFeObjJsonSetWithAdditions,
        (uint32_t oid, const objIndex* iid, json_object* json, uint32_t additions, uint32_t type, void* feedback),
        (oid, iid, json, additions, type, feedback))
COUNTED(writes, vcfgFeObjChange, (vcfg_step_t * steps, size_t count, uint32_t type, void* feedback),
        (steps, count, type, feedback))
COUNTED(messages, vcfg_msg_serverSend, (vcfg_msg_t * message), (message))
COUNTED(messages, vcfg_msg_sendAndGetReply, (vcfg_msg_t * message, vcfg_msg_t** reply, uint32_t timeoutMs),
        (message, reply, timeoutMs))

int system(const char* command) {
    REAL(system);
    count(&Event::processes);
    return real(command);
}

FILE* popen(const char* command, const char* mode) {
    REAL(popen);
    count(&Event::processes);
    return real(command, mode);
}

int posix_spawn(pid_t* process, const char* path, const posix_spawn_file_actions_t* actions,
                const posix_spawnattr_t* attributes, char* const arguments[], char* const environment[]) {
    REAL(posix_spawn);
    count(&Event::processes);
    return real(process, path, actions, attributes, arguments, environment);
}

int pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*body)(void*), void* argument) {
    REAL(pthread_create);
    counted::Start* const start = newStart(body, argument);
    if (start == nullptr) {
        return real(thread, attributes, body, argument);
    }
    const int code = real(thread, attributes, counted::run, start);
    if (code != 0) {
        forget(start);
    }
    return code;
}

// A message's event lasts from one wait for messages to the next, a link event's from one wait for the kernel to the
// next.
int vcfg_msg_serverRecv(vcfg_msg_t** message, uint32_t timeoutMs) {
    REAL(vcfg_msg_serverRecv);
    end();
    const int code = real(message, timeoutMs);
    if (code == VCFG_OK) {
        begin((*message)->type);
    }
    return code;
}

int select(int most, fd_set* readable, fd_set* writable, fd_set* failed, timeval* timeout) {
    REAL(select);
    end(kKernelEvent);
    const int ready = real(most, readable, writable, failed, timeout);
    if (ready > 0 && timeout == nullptr) {
        begin(kKernelEvent);
    }
    return ready;
}

// This kernel has no link monitor: its family for programs that talk to each other takes the place.
int socket(int family, int type, int protocol) noexcept {
    REAL(socket);
    return real(family, type, family == AF_NETLINK && protocol == kLinkMonitorProtocol ? NETLINK_USERSOCK : protocol);
}
}
