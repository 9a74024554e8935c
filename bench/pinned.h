// Processes that share one CPU: the steady way to compare round trips on a machine that does other things too.
#pragma once

#include <sched.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <vector>

namespace bench {

inline void pinToOneCpu() {
    cpu_set_t allowed;
    sched_getaffinity(0, sizeof allowed, &allowed);
    int cpu = CPU_SETSIZE - 1;
    while (cpu > 0 && !CPU_ISSET(cpu, &allowed)) {
        --cpu;
    }
    CPU_ZERO(&allowed);
    CPU_SET(cpu, &allowed);
    if (sched_setaffinity(0, sizeof allowed, &allowed) != 0) {
        perror("sched_setaffinity");
    }
}

// A process that runs `body`, which calls its argument as soon as it can be talked to. Ended with the object.
class Peer {
  public:
    explicit Peer(const std::function<void(const std::function<void()>&)>& body) {
        int ready[2];
        if (pipe(ready) != 0 || (process_ = fork()) < 0) {
            perror("peer");
            exit(1);
        }
        if (process_ == 0) {
            close(ready[0]);
            body([&] { static_cast<void>(!write(ready[1], "x", 1)); });
            _exit(0);
        }
        close(ready[1]);
        char byte;
        if (read(ready[0], &byte, 1) != 1) {
            fprintf(stderr, "a peer did not start\n");
            exit(1);
        }
        close(ready[0]);
    }
    ~Peer() {
        kill(process_, SIGKILL);
        waitpid(process_, nullptr, 0);
    }
    Peer(const Peer&) = delete;
    Peer& operator=(const Peer&) = delete;

  private:
    pid_t process_ = -1;
};

struct Samples {
    std::vector<double> us;

    double at(double part) {
        std::sort(us.begin(), us.end());
        return us.empty() ? 0 : us[static_cast<size_t>(part * static_cast<double>(us.size() - 1))];
    }
};

}  // namespace bench
