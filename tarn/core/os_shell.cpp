#include "core/os_shell.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <memory>

#include "core/arrival.h"
#include "core/os.h"

namespace os {
namespace {

// As system() and pclose() wait.
int endOf(pid_t child) {
    int status = -1;
    pid_t ended = -1;
    while (child > 0 && (ended = waitpid(child, &status, 0)) < 0 && errno == EINTR) {
    }
    return ended == child ? status : -1;
}

struct CloseFile {
    void operator()(FILE* file) const { fclose(file); }
};
using File = std::unique_ptr<FILE, CloseFile>;

// What the command prints; null when it does not start.
File startReading(const std::string& command, pid_t* child) {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) {
        return nullptr;
    }
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO);
    *child = startShell(command, &actions);
    posix_spawn_file_actions_destroy(&actions);
    close(ends[1]);
    FILE* const file = *child > 0 ? fdopen(ends[0], "r") : nullptr;
    if (file == nullptr) {
        close(ends[0]);
        endOf(*child);
    }
    return File(file);
}

// The command prints all that it has, so that no closed pipe ends it.
std::optional<std::string> takeLine(FILE* output, size_t limit) {
    std::string line;
    int character = 0;
    while ((character = fgetc(output)) != EOF && character != '\n') {
        if (line.size() < limit) {
            line.push_back(static_cast<char>(character));
        }
    }
    const bool gotLine = !line.empty() || character == '\n';
    while (fgetc(output) != EOF) {
    }
    return gotLine ? std::optional(line) : std::nullopt;
}

}  // namespace

pid_t startShell(const std::string& command, const posix_spawn_file_actions_t* actions,
                 const posix_spawnattr_t* attributes) {
    const char* const words[] = {"sh", "-c", command.c_str(), nullptr};
    pid_t child = -1;
    const int error =
        posix_spawn(&child, "/bin/sh", actions, attributes, const_cast<char* const*>(words), vcfgEventEnvironment());
    return error == 0 ? child : -1;
}

int runCommand(const std::string& command) {
    const Arrival arrival("command", command);
    const int result = endOf(startShell(command));
    vcfgEventStep("status", "", result, nullptr, 0);
    return result;
}

std::optional<std::string> firstLineOf(const std::string& command, size_t limit) {
    const Arrival arrival("command", command);
    pid_t child = -1;
    File output = startReading(command, &child);
    if (output == nullptr) {
        return std::nullopt;
    }
    const std::optional<std::string> line = takeLine(output.get(), limit);
    output.reset();
    const std::string said = line.value_or("");
    vcfgEventStep("status", "", endOf(child), said.data(), said.size());
    return line;
}

}  // namespace os
