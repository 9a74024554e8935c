#include "process.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>
#include <vcfg/recorder.h>

#include <csignal>
#include <cstdio>

#include "start/arguments.h"

namespace {

constexpr int kEndAttempts = 500;
constexpr int kAttemptsOfASignal = 50;

pid_t numberIn(const std::string& pidFile) {
    FILE* const file = pidFile.empty() ? nullptr : fopen(pidFile.c_str(), "re");
    if (file == nullptr) {
        return 0;
    }
    int number = 0;
    const bool read = fscanf(file, "%9d", &number) == 1;
    fclose(file);
    return read ? number : 0;
}

// It, or one of those that it has started.
bool isThere(pid_t process) {
    return kill(process, 0) == 0 || kill(-process, 0) == 0;
}

// Whoever starts the next one must not take for it what is about to go, nor a stranger that gets its number.
void forget(const std::string& pidFile, pid_t process) {
    if (numberIn(pidFile) == process) {
        unlink(pidFile.c_str());
    }
}

}  // namespace

void waitAMoment() {
    constexpr timespec kMoment{0, 20000000};
    nanosleep(&kMoment, nullptr);
}

bool run(const std::vector<std::string>& words, bool quiet) {
    const std::vector<char*> arguments = argumentsOf(words);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    if (quiet) {
        posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
    }
    pid_t child = 0;
    const int problem = posix_spawnp(&child, arguments[0], &actions, nullptr, arguments.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    int status = 0;
    return problem == 0 && waitpid(child, &status, 0) == child && status == 0;
}

pid_t processOf(const std::string& pidFile) {
    const pid_t process = numberIn(pidFile);
    return process > 1 && kill(process, 0) == 0 ? process : 0;
}

bool tell(pid_t process, int signal) {
    vcfgEventStep("signal", std::to_string(process).c_str(), signal, nullptr, 0);
    return kill(process, signal) == 0;
}

void signalProcess(const std::string& pidFile, int signal) {
    const pid_t process = processOf(pidFile);
    if (process != 0) {
        tell(process, signal);
    }
}

void awaitEnd(pid_t process) {
    for (int attempt = 0; attempt < kEndAttempts && isThere(process); ++attempt) {
        waitAMoment();
    }
}

void endProcess(const std::string& pidFile, int signal) {
    const pid_t process = processOf(pidFile);
    if (process == 0) {
        return;
    }
    // Who has only just begun may not hear the first.
    for (int attempt = 0; attempt < kEndAttempts && isThere(process); ++attempt) {
        if (attempt % kAttemptsOfASignal == 0) {
            tell(process, signal);
        }
        waitAMoment();
    }
    if (isThere(process)) {
        kill(process, SIGKILL);
        kill(-process, SIGKILL);
        awaitEnd(process);
    }
    forget(pidFile, process);
}
