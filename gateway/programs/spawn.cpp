// Starts a service of the gateway in the background: a session of its own, nothing on standard input, its output to the
// log collector (--collect) or to a file.
//
//   gw-spawn [--collect] NAME PROGRAM [ARGUMENT]...
//
// Returns 0 when the program runs; its number is in /run/gateway/NAME.pid.
#include <fcntl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string>

namespace {

constexpr char kCollector[] = "/run/gateway/output";

int collectorOutput() {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    memcpy(address.sun_path, kCollector, sizeof kCollector);
    const int fd = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (fd < 0 || connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) < 0) {
        return -1;
    }
    return fd;
}

int fileOutput(const std::string& name) {
    return open(("/var/log/gateway/" + name + ".txt").c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0644);
}

bool writeNumber(const std::string& name) {
    FILE* const file = fopen(("/run/gateway/" + name + ".pid").c_str(), "we");
    if (file == nullptr) {
        return false;
    }
    fprintf(file, "%d\n", getpid());
    return fclose(file) == 0;
}

// Only comes back when something failed; errno says what.
void become(const std::string& name, bool collect, char** command) {
    setsid();
    const int nothing = open("/dev/null", O_RDONLY | O_CLOEXEC);
    const int output = collect ? collectorOutput() : fileOutput(name);
    if (nothing < 0 || output < 0 || !writeNumber(name) || chdir("/") < 0) {
        return;
    }
    dup2(nothing, STDIN_FILENO);
    dup2(output, STDOUT_FILENO);
    dup2(output, STDERR_FILENO);
    execvp(command[0], command);
}

}  // namespace

int main(int count, char** words) {
    const bool collect = count > 1 && strcmp(words[1], "--collect") == 0;
    const int first = collect ? 2 : 1;
    if (count < first + 2) {
        fprintf(stderr, "usage: gw-spawn [--collect] NAME PROGRAM [ARGUMENT]...\n");
        return 2;
    }
    int problem[2];  // closed by a successful exec
    if (pipe2(problem, O_CLOEXEC) < 0) {
        perror("gw-spawn");
        return 1;
    }
    const pid_t child = fork();
    if (child == 0) {
        become(words[first], collect, words + first + 1);
        const int error = errno;
        _exit(write(problem[1], &error, sizeof error) > 0 ? 1 : 2);
    }
    close(problem[1]);
    int error = child < 0 ? errno : 0;
    if (child < 0 || read(problem[0], &error, sizeof error) > 0) {
        fprintf(stderr, "gw-spawn: cannot start %s: %s\n", words[first + 1], strerror(error));
        return 1;
    }
    return 0;
}
