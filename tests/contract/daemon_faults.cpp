// Linked into the daemon that the tests start: what of the operating system and the bus fails is in the environment
// (TARN_FAULT), and what the daemon asks of the system is written down (TARN_ASKED). The linker leads its calls here
// (--wrap).
#include <linux/netlink.h>
#include <pthread.h>
#include <sched.h>
#include <spawn.h>
#include <sys/socket.h>
#include <unistd.h>
#include <vcfg/vcfg.h>

#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

constexpr int kLinkMonitorProtocol = 25;
constexpr pid_t kNobody = 0x3fffffff;  // no process of Linux has such a number

bool fails(const char* step) {
    const char* const fault = getenv("TARN_FAULT");
    return fault != nullptr && strcmp(fault, step) == 0;
}

void note(const char* format, ...) __attribute__((format(printf, 1, 2)));
void note(const char* format, ...) {
    const char* const path = getenv("TARN_ASKED");
    FILE* const file = path != nullptr ? fopen(path, "ae") : nullptr;
    if (file == nullptr) {
        return;
    }
    va_list arguments;
    va_start(arguments, format);
    vfprintf(file, format, arguments);
    va_end(arguments);
    fputc('\n', file);
    fclose(file);
}

}  // namespace

extern "C" {
// NOLINTBEGIN(bugprone-reserved-identifier): the linker chose the names
int __real_socket(int family, int type, int protocol);
int __real_bind(int descriptor, const sockaddr* address, socklen_t length);
int __real_posix_spawn(pid_t* process, const char* path, const posix_spawn_file_actions_t* actions,
                       const posix_spawnattr_t* attributes, char* const* arguments, char* const* environment);
pid_t __real_waitpid(pid_t process, int* status, int options);
int __real_pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*body)(void*), void* argument);
int __real_vcfg_msg_eidInit(uint8_t eid, const char* name);
int __real_vcfg_msg_serverInit(void);

// This kernel has no link monitor: its family for programs that talk to each other takes the place.
int __wrap_socket(int family, int type, int protocol);
int __wrap_socket(int family, int type, int protocol) {
    if (fails("socket")) {
        errno = EPROTONOSUPPORT;
        return -1;
    }
    return __real_socket(family, type, protocol == kLinkMonitorProtocol ? NETLINK_USERSOCK : protocol);
}

int __wrap_bind(int descriptor, const sockaddr* address, socklen_t length);
int __wrap_bind(int descriptor, const sockaddr* address, socklen_t length) {
    if (fails("bind")) {
        errno = EADDRINUSE;
        return -1;
    }
    return __real_bind(descriptor, address, length);
}

// The commands of a gateway are not this machine's, but for the one that a test looks at its own descriptors with, and
// those of the thread that can be stopped. They end at once and print nothing.
int __wrap_posix_spawn(pid_t* process, const char* path, const posix_spawn_file_actions_t* actions,
                       const posix_spawnattr_t* attributes, char* const* arguments, char* const* environment);
int __wrap_posix_spawn(pid_t* process, const char* path, const posix_spawn_file_actions_t* actions,
                       const posix_spawnattr_t* attributes, char* const* arguments, char* const* environment) {
    if (attributes != nullptr) {
        return __real_posix_spawn(process, path, actions, attributes, arguments, environment);
    }
    if (actions == nullptr) {
        note("%s", arguments[2]);
    }
    if (strncmp(arguments[2], "ls ", 3) == 0) {
        return __real_posix_spawn(process, path, actions, attributes, arguments, environment);
    }
    *process = kNobody;
    return 0;
}
pid_t __wrap_waitpid(pid_t process, int* status, int options);
pid_t __wrap_waitpid(pid_t process, int* status, int options) {
    if (process != kNobody) {
        return __real_waitpid(process, status, options);
    }
    *status = 0;
    return process;
}

int __wrap_sched_setscheduler(pid_t process, int policy, const sched_param* parameters);
int __wrap_sched_setscheduler(pid_t process, int policy, const sched_param* parameters) {
    note("scheduler of %d: %s %d", process, policy == SCHED_RR ? "SCHED_RR" : "other", parameters->sched_priority);
    errno = EPERM;
    return fails("scheduler") ? -1 : 0;
}

int __wrap_pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*body)(void*), void* argument);
int __wrap_pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*body)(void*), void* argument) {
    static std::atomic<int> threads{0};
    const int number = ++threads;
    if ((number == 1 && fails("first thread")) || (number == 2 && fails("second thread")) ||
        (number == 3 && fails("third thread"))) {
        return EAGAIN;
    }
    return __real_pthread_create(thread, attributes, body, argument);
}

int __wrap_vcfg_msg_eidInit(uint8_t eid, const char* name);
int __wrap_vcfg_msg_eidInit(uint8_t eid, const char* name) {
    return eid == VCFG_EID_TARN_GROUND && fails("ground endpoint") ? int{VCFG_ERR_FAIL}
                                                                   : __real_vcfg_msg_eidInit(eid, name);
}
int __wrap_vcfg_msg_serverInit(void);
int __wrap_vcfg_msg_serverInit(void) {
    static std::atomic<int> servers{0};
    const int number = ++servers;
    if ((number == 1 && fails("server")) || (number == 2 && fails("ground server"))) {
        return VCFG_ERR_FAIL;
    }
    return __real_vcfg_msg_serverInit();
}
// NOLINTEND(bugprone-reserved-identifier)
}
