// In each program of a build with the address sanitizer. In a virtual gateway nobody reads what a child says, and hooks
// begin with a clean environment: there, what the sanitizers find goes to a folder that outlives the gateway, and a
// program that is ended from outside is looked at for leaks like one that ends by itself.
#include <sched.h>
#include <signal.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#define FINDINGS "/var/lib/findings"

// What the sanitizers' libraries call, and what they offer.
extern "C" {
// NOLINTBEGIN(bugprone-reserved-identifier): the libraries chose the names
int __lsan_do_recoverable_leak_check(void);
int __lsan_is_turned_off(void);
const char* __asan_default_options(void);
const char* __ubsan_default_options(void);
extern const int sanitized_program;
const int sanitized_program = 1;  // by which the linker is told to take this file
}

namespace {

constexpr unsigned kPatience = 30;

// Asked before the libraries are ready, so the kernel itself is.
bool isLookedFor() {
    return syscall(SYS_access, FINDINGS, W_OK) == 0;
}

// The /proc of a gateway has no processes, and a look for leaks stops the threads that it finds there.
void showProcesses() {
    if (access("/.proc/self", F_OK) == 0 && unshare(CLONE_NEWNS) == 0 &&
        mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0) {
        mount("/.proc", "/proc", nullptr, MS_BIND, nullptr);
    }
}

// Who looks for leaks is a child of the process and has to see it.
bool childrenLiveElsewhere() {
    struct stat own {};
    struct stat childrens {};
    return stat("/proc/self/ns/pid", &own) == 0 && stat("/proc/self/ns/pid_for_children", &childrens) == 0 &&
           own.st_ino != childrens.st_ino;
}

// Whoever is ended in the middle of an allocation may wait for itself: the alarm ends that.
void endWithoutLeaks(int reason) {
    signal(SIGALRM, SIG_DFL);
    alarm(kPatience);
    __lsan_do_recoverable_leak_check();
    signal(reason, SIG_DFL);
    raise(reason);
}

[[maybe_unused]] const bool prepared = [] {
    struct sigaction now {};
    return isLookedFor() && sigaction(SIGTERM, nullptr, &now) == 0 && now.sa_handler == SIG_DFL &&
           signal(SIGTERM, endWithoutLeaks) != SIG_ERR;
}();

}  // namespace

// The daemon's own handler of SIGSEGV would go on for ever, and the gateway's preloaded library comes before the
// sanitizer's.
const char* __asan_default_options() {
    return isLookedFor()
               ? "verify_asan_link_order=0:handle_segv=2:quarantine_size_mb=16:log_exe_name=1:log_path=" FINDINGS
                 "/asan"
               : "verify_asan_link_order=0";
}
// Asked before each look.
int __lsan_is_turned_off() {
    if (childrenLiveElsewhere()) {
        return 1;
    }
    showProcesses();
    return 0;
}
const char* __ubsan_default_options() {
    return isLookedFor() ? "print_stacktrace=1:log_exe_name=1:log_path=" FINDINGS "/ubsan" : "";
}
// NOLINTEND(bugprone-reserved-identifier)
