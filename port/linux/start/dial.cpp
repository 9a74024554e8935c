// Runs pppd for a link, and tells port-event how it ended: nothing but its exit status says that the peer has refused
// the password. Its number is removed from the pid file before pppd is taken away, so that whoever waited for its end
// finds nobody that dials.
//
//   port-dial LINK
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <string>
#include <vector>

#include "client/standard_streams.h"
#include "start/arguments.h"

namespace {

constexpr int kSignalled = 128;

volatile sig_atomic_t gPppd = 0;

void passOn(int signal) {
    if (gPppd > 0) {
        kill(static_cast<pid_t>(gPppd), signal);
    }
}

// At the head of a process group of its own, as who ends it expects. -1 when it does not start.
pid_t start(const std::vector<std::string>& words) {
    const std::vector<char*> arguments = argumentsOf(words);
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETPGROUP);
    posix_spawnattr_setpgroup(&attributes, 0);
    pid_t child = -1;
    const int problem = posix_spawnp(&child, arguments[0], nullptr, &attributes, arguments.data(), environ);
    posix_spawnattr_destroy(&attributes);
    return problem == 0 ? child : -1;
}

// The child stays a zombie until waitpid takes it away.
int awaitEnd(pid_t child) {
    siginfo_t end{};
    while (waitid(P_PID, static_cast<id_t>(child), &end, WEXITED | WNOWAIT) != 0 && errno == EINTR) {
    }
    return end.si_code == CLD_EXITED ? end.si_status : kSignalled + end.si_status;
}

void empty(const std::string& pidFile) {
    const int file = open(pidFile.c_str(), O_WRONLY | O_TRUNC | O_CLOEXEC);
    if (file >= 0) {
        close(file);
    }
}

}  // namespace

int main(int count, char** words) {
    vcfg::holdStandardStreams();
    if (count != 2) {
        fprintf(stderr, "usage: port-dial LINK\n");
        return 2;
    }
    const std::string link = words[1];
    for (const int each : {SIGTERM, SIGINT, SIGHUP}) {
        signal(each, passOn);
    }
    const pid_t pppd = start({"pppd", "file", "/run/tarn/ppp-" + link + ".options"});
    gPppd = pppd;
    const int status = pppd > 0 ? awaitEnd(pppd) : kSignalled - 1;
    empty("/run/tarn/ppp-" + link + ".pid");
    const pid_t told = start({"/usr/libexec/tarn/port-event", "pppd", "ended", link, std::to_string(status)});
    if (told > 0) {
        awaitEnd(told);
    }
    return status;
}
