// Builds the world of one virtual gateway and stays as its first process: the rooms live in PID namespaces below this
// one's, so that the end of this process is the end of everything in it.
//
//   gw-world STATE --room NAME [--layer DIR]... [--bind HOST INSIDE]... [--room ...]...
//
// Returns 0 as soon as all rooms stand. STATE gets NAME.pid of each room and world.pid (as the caller sees the
// processes).
#include <fcntl.h>
#include <net/if.h>
#include <poll.h>
#include <sched.h>
#include <signal.h>
#include <sys/ioctl.h>
#include <sys/mount.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <optional>

#include "client/standard_streams.h"
#include "own_mounts.h"
#include "room.h"
#include "steps.h"

namespace {

struct Plan {
    std::string state;
    std::vector<Room> rooms;
};

std::optional<Plan> readPlan(int count, char** words) {
    Plan plan;
    if (count < 2) {
        return std::nullopt;
    }
    plan.state = words[1];
    for (int i = 2; i < count; ++i) {
        const std::string word = words[i];
        if (word == "--room" && i + 1 < count) {
            plan.rooms.push_back({words[++i], {}, {}});
        } else if (word == "--layer" && i + 1 < count && !plan.rooms.empty()) {
            plan.rooms.back().layers.emplace_back(words[++i]);
        } else if (word == "--bind" && i + 2 < count && !plan.rooms.empty()) {
            plan.rooms.back().binds.emplace_back(words[i + 1], words[i + 2]);
            i += 2;
        } else {
            return std::nullopt;
        }
    }
    return plan.rooms.empty() ? std::nullopt : std::optional(plan);
}

// Without root's rights the world gets a user namespace, in which the caller is root.
void becomeRoot() {
    const uid_t user = geteuid();
    const gid_t group = getegid();
    if (user == 0) {
        return;
    }
    if (unshare(CLONE_NEWUSER) < 0) {
        fail(
            "cannot create a user namespace (run as root; or allow unprivileged user namespaces, which no chroot has)");
    }
    writeText("/proc/self/setgroups", "deny");
    if (!writeText("/proc/self/uid_map", "0 " + std::to_string(user) + " 1") ||
        !writeText("/proc/self/gid_map", "0 " + std::to_string(group) + " 1")) {
        fail("cannot map the user into the namespace");
    }
}

// /proc is still the caller's here, so it tells the number by which the caller knows this process.
std::string numberOutside() {
    char number[32] = {};
    must(readlink("/proc/self", number, sizeof number - 1), "cannot read /proc/self");
    return number;
}

void setLoopbackUp() {
    const int any = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    must(any, "cannot open a socket");
    ifreq request{};
    snprintf(request.ifr_name, sizeof request.ifr_name, "lo");
    request.ifr_flags = IFF_UP | IFF_RUNNING;
    const int result = ioctl(any, SIOCSIFFLAGS, &request);
    close(any);
    must(result, "cannot bring the loopback up");
}

// Orphans end up at the first process, which only has to notice that they died.
[[noreturn]] void reapForever(bool endWithFirst) {
    sigset_t children;
    sigemptyset(&children);
    sigaddset(&children, SIGCHLD);
    while (true) {
        while (waitpid(-1, nullptr, WNOHANG) > 0) {
            if (endWithFirst) {
                _exit(1);
            }
        }
        sigwaitinfo(&children, nullptr);
    }
}

void holdChildSignals() {
    sigset_t children;
    sigemptyset(&children);
    sigaddset(&children, SIGCHLD);
    sigprocmask(SIG_BLOCK, &children, nullptr);
}

void closeStandardStreams() {
    const int nothing = open("/dev/null", O_RDWR | O_CLOEXEC);
    for (int stream = 0; stream < 3; ++stream) {
        dup2(nothing, stream);
    }
}

// First process of a room.
[[noreturn]] void liveInRoom(const Plan& plan, const Room& room, int ready) {
    const std::string number = numberOutside();
    const int state = open(plan.state.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC);
    must(state, "cannot open " + plan.state);
    enterRoom(room, plan.state + "/rooms/" + room.name);
    must(sethostname(room.name.c_str(), room.name.size()), "cannot set the host name");
    setLoopbackUp();
    // A burst of log lines must not stall the daemon that writes them.
    writeText("/proc/sys/net/unix/max_dgram_qlen", "4096");
    const int file = openat(state, (room.name + ".pid").c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    must(file, "cannot write " + room.name + ".pid");
    must(write(file, number.data(), number.size()), "cannot write " + room.name + ".pid");
    close(file);
    close(state);
    must(write(ready, "+", 1), "cannot report");
    close(ready);
    closeStandardStreams();
    reapForever(false);
}

void openRoom(const Plan& plan, const Room& room) {
    int ready[2];
    must(pipe2(ready, O_CLOEXEC), "cannot create a pipe");
    constexpr unsigned long kOwn = CLONE_NEWNS | CLONE_NEWPID | CLONE_NEWNET | CLONE_NEWIPC | CLONE_NEWUTS | SIGCHLD;
    const long child = syscall(SYS_clone, kOwn, nullptr, nullptr, nullptr, nullptr);
    must(child, "cannot create the namespaces of " + room.name);
    if (child == 0) {
        try {
            close(ready[0]);
            liveInRoom(plan, room, ready[1]);
        } catch (const std::exception& problem) {
            fprintf(stderr, "gw-world: %s: %s\n", room.name.c_str(), problem.what());
            _exit(1);
        }
    }
    close(ready[1]);
    char answer = 0;
    const bool stands = read(ready[0], &answer, 1) == 1;
    close(ready[0]);
    if (!stands) {
        throw std::runtime_error("the room " + room.name + " could not be built");
    }
}

[[noreturn]] void liveInWorld(const Plan& plan, int ready) {
    setsid();
    holdChildSignals();  // the rooms' first processes inherit it
    makeMountsOwn();
    const std::string number = numberOutside();
    for (const Room& room : plan.rooms) {
        openRoom(plan, room);
    }
    if (!writeText(plan.state + "/world.pid", number)) {
        fail("cannot write world.pid");
    }
    must(chdir("/"), "cannot enter /");
    must(write(ready, "+", 1), "cannot report");
    close(ready);
    closeStandardStreams();
    reapForever(true);
}

int buildWorld(const Plan& plan) {
    becomeRoot();
    int ready[2];
    must(pipe2(ready, O_CLOEXEC), "cannot create a pipe");
    must(unshare(CLONE_NEWNS | CLONE_NEWPID), "cannot create namespaces (run as root)");
    const pid_t child = fork();
    must(child, "cannot fork");
    if (child == 0) {
        close(ready[0]);
        try {
            liveInWorld(plan, ready[1]);
        } catch (const std::exception& problem) {
            fprintf(stderr, "gw-world: %s\n", problem.what());
            _exit(1);
        }
    }
    close(ready[1]);
    char answer = 0;
    return read(ready[0], &answer, 1) == 1 ? 0 : 1;
}

}  // namespace

int main(int count, char** words) {
    vcfg::holdStandardStreams();
    const std::optional<Plan> plan = readPlan(count, words);
    if (!plan.has_value()) {
        fprintf(stderr, "usage: gw-world STATE --room NAME [--layer DIR]... [--bind HOST INSIDE]...\n");
        return 2;
    }
    try {
        return buildWorld(*plan);
    } catch (const std::exception& problem) {
        fprintf(stderr, "gw-world: %s\n", problem.what());
        return 1;
    }
}
