// Starts a program in the background: a session of its own, nothing on standard input, its output to a file, or to the
// datagram socket of that name.
//
//   port-spawn PID-FILE OUTPUT PROGRAM [ARGUMENT]...
//
// Returns 0 when the program runs; its number is in the file.
#include <fcntl.h>
#include <linux/close_range.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string>

#include "client/standard_streams.h"

namespace {

bool isSocket(const char* path) {
    struct stat status {};
    return stat(path, &status) == 0 && S_ISSOCK(status.st_mode);
}

int socketOutput(const std::string& path) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path.size() >= sizeof address.sun_path) {
        errno = ENAMETOOLONG;
        return -1;
    }
    path.copy(address.sun_path, path.size());
    const int fd = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (fd < 0 || connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) < 0) {
        return -1;
    }
    return fd;
}

int fileOutput(const char* path) {
    return open(path, O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0644);
}

bool writeNumber(const char* pidFile) {
    FILE* const file = fopen(pidFile, "we");
    if (file == nullptr) {
        return false;
    }
    fprintf(file, "%d\n", getpid());
    return fclose(file) == 0;
}

// Only comes back when something failed; errno says what.
void become(const char* pidFile, const char* outputName, char** command) {
    setsid();
    const int nothing = open("/dev/null", O_RDONLY | O_CLOEXEC);
    const int output = isSocket(outputName) ? socketOutput(outputName) : fileOutput(outputName);
    if (nothing < 0 || output < 0 || !writeNumber(pidFile) || chdir("/") < 0) {
        return;
    }
    dup2(nothing, STDIN_FILENO);
    dup2(output, STDOUT_FILENO);
    dup2(output, STDERR_FILENO);
    close_range(STDERR_FILENO + 1, ~0U, CLOSE_RANGE_CLOEXEC);  // the starter's locks are not the program's
    execvp(command[0], command);
}

}  // namespace

int main(int count, char** words) {
    vcfg::holdStandardStreams();
    if (count < 4) {
        fprintf(stderr, "usage: port-spawn PID-FILE OUTPUT PROGRAM [ARGUMENT]...\n");
        return 2;
    }
    int problem[2];  // closed by a successful exec
    if (pipe2(problem, O_CLOEXEC) < 0) {
        perror("port-spawn");
        return 1;
    }
    const pid_t child = fork();
    if (child == 0) {
        become(words[1], words[2], words + 3);
        const int error = errno;
        _exit(write(problem[1], &error, sizeof error) > 0 ? 1 : 2);
    }
    close(problem[1]);
    int error = child < 0 ? errno : 0;
    if (child < 0 || read(problem[0], &error, sizeof error) > 0) {
        fprintf(stderr, "port-spawn: cannot start %s: %s\n", words[3], strerror(error));
        return 1;
    }
    return 0;
}
