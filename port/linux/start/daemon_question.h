// What is asked of a daemon of ours, to know how it is.
#pragma once

#include <sys/types.h>

#include <cstdint>

struct Daemon {
    const char* name;
    // Whether it answers within that time, all of its threads that take requests.
    bool (*answers)(pid_t process, uint32_t patienceMs);
    // Whether its start-up has completed.
    bool (*hasStarted)(uint32_t patienceMs);
};

// "vcmd" or "tarn"; null for any other name.
const Daemon* daemonNamed(const char* name);
