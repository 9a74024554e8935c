// Starts a daemon for a service manager that wants to be told: becomes the daemon, and leaves an attendant beside it,
// which asks it over the bus, says when its start-up has completed, and gives a sign of life as long as it answers.
//
//   port-attend vcmd|tarn PROGRAM [ARGUMENT]...
//
// Without a service manager it only becomes the program. The daemon knows nothing of all this.
#include <linux/capability.h>
#include <poll.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vcfg/vcfg.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>

#include "daemon_question.h"
#include "service_manager.h"

namespace {

constexpr uint8_t kOwnEndpoint = 0xF3;
constexpr uint32_t kStartingMs = 200;
constexpr uint32_t kUnhurriedMs = 20000;

// Who only asks needs no right.
void dropRights() {
    __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
    __user_cap_data_struct none[2]{};
    syscall(SYS_capset, &header, none);
}

// False as soon as the daemon has ended.
bool livesOn(int daemon, uint32_t milliseconds) {
    pollfd ended{daemon, POLLIN, 0};
    return poll(&ended, 1, static_cast<int>(milliseconds)) == 0 || (ended.revents == 0 && errno == EINTR);
}

void awaitStart(const Daemon& daemon, pid_t process, int descriptor, const ServiceManager& manager) {
    while (!daemon.answers(process, kUnhurriedMs) || !daemon.hasStarted(kUnhurriedMs)) {
        if (!livesOn(descriptor, kStartingMs)) {
            _exit(0);
        }
    }
    manager.tell("READY=1\nSTATUS=start-up has completed");
}

// Three questions fit into the manager's patience, each with the time that is left to the next.
[[noreturn]] void attend(const Daemon& daemon, pid_t process, const ServiceManager& manager) {
    const int descriptor = static_cast<int>(syscall(SYS_pidfd_open, process, 0));
    dropRights();
    if (descriptor < 0 || vcfg_msg_eidInit(kOwnEndpoint, "attend") != VCFG_OK) {
        fprintf(stderr, "port-attend: %s cannot be attended\n", daemon.name);
        _exit(1);
    }
    awaitStart(daemon, process, descriptor, manager);
    const uint32_t pace = manager.patienceMs() != 0 ? std::max(1U, manager.patienceMs() / 3) : kUnhurriedMs;
    while (livesOn(descriptor, pace)) {
        if (daemon.answers(process, pace)) {
            manager.tell("WATCHDOG=1");
        } else {
            fprintf(stderr, "port-attend: %s does not answer\n", daemon.name);
        }
    }
    _exit(0);
}

// The attendant is nobody's child: the daemon counts its own only.
void leaveAttendant(const Daemon& daemon, const ServiceManager& manager) {
    const pid_t process = getpid();
    const pid_t between = fork();
    if (between == 0) {
        if (fork() == 0) {
            attend(daemon, process, manager);
        }
        _exit(0);
    }
    waitpid(between, nullptr, 0);
}

}  // namespace

int main(int count, char** words) {
    const Daemon* const daemon = count >= 3 ? daemonNamed(words[1]) : nullptr;
    if (daemon == nullptr) {
        fprintf(stderr, "usage: port-attend vcmd|tarn PROGRAM [ARGUMENT]...\n");
        return 2;
    }
    const ServiceManager manager = ServiceManager::ofEnvironment();
    if (manager.isThere()) {
        leaveAttendant(*daemon, manager);
    }
    execvp(words[2], words + 2);
    fprintf(stderr, "port-attend: %s: %s\n", words[2], strerror(errno));
    return 1;
}
