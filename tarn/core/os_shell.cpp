#include "core/os_shell.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <string_view>
#include <utility>

#include "core/arrival.h"
#include "core/file.h"
#include "core/os.h"

namespace os {
namespace {

// Waited for, as system() and pclose() do, whatever becomes of who has started it.
class Child {
  public:
    explicit Child(pid_t process) : process_(process) {}
    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;
    ~Child() { end(); }

    bool hasStarted() const { return process_ > 0; }
    // Its status; -1 when there is none to be had.
    int end() {
        const pid_t process = std::exchange(process_, -1);
        int status = -1;
        pid_t ended = -1;
        while (process > 0 && (ended = waitpid(process, &status, 0)) < 0 && errno == EINTR) {
        }
        return ended > 0 ? status : -1;
    }

  private:
    pid_t process_;
};

// A shell with the command, which prints there; -1 when there is none to be had.
pid_t startPrinting(const std::string& command, int descriptor) {
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    const bool isReady = posix_spawn_file_actions_adddup2(&actions, descriptor, STDOUT_FILENO) == 0;
    const pid_t child = isReady ? startShell(command, &actions) : -1;
    posix_spawn_file_actions_destroy(&actions);
    return child;
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
    const int result = Child(startShell(command)).end();
    vcfgEventStep("status", "", result, nullptr, 0);
    return result;
}

std::optional<std::string> firstLineOf(const std::string& command, size_t limit) {
    const Arrival arrival("command", command);
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) {
        return std::nullopt;
    }
    Child child(startPrinting(command, ends[1]));
    close(ends[1]);
    const File output(child.hasStarted() ? fdopen(ends[0], "r") : nullptr);
    if (output == nullptr) {
        close(ends[0]);
        return std::nullopt;
    }
    std::optional<std::string> line = takeLine(output.get(), limit);
    const std::string_view said = line ? std::string_view(*line) : std::string_view();
    vcfgEventStep("status", "", child.end(), said.data(), said.size());
    return line;
}

}  // namespace os
