#include "process.h"

#include <fcntl.h>
#include <ftw.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace bench {
namespace {

constexpr int kAttempts = 2000;
constexpr useconds_t kPauseUs = 5000;

pid_t forkChild() {
    const pid_t parent = getpid();
    const pid_t child = fork();
    if (child < 0) {
        fail("fork");
    }
    if (child == 0 && (prctl(PR_SET_PDEATHSIG, SIGKILL) != 0 || getppid() != parent)) {
        _exit(1);
    }
    return child;
}

int removeOne(const char* path, const struct stat*, int, FTW*) {
    return remove(path);
}

}  // namespace

void fail(const std::string& what) {
    fprintf(stderr, "%s: %s: %s\n", program_invocation_short_name, what.c_str(), strerror(errno));
    exit(1);
}

Directory::Directory() : path_("/dev/shm/bench.XXXXXX") {
    if (mkdtemp(path_.data()) == nullptr) {
        fail("a temporary directory");
    }
}

Directory::~Directory() {
    nftw(path_.c_str(), removeOne, 8, FTW_DEPTH | FTW_PHYS);
}

Process::Process(const std::function<void(const std::function<void()>&)>& body) {
    int ready[2];
    if (pipe(ready) != 0) {
        fail("pipe");
    }
    id_ = forkChild();
    if (id_ == 0) {
        close(ready[0]);
        body([&] { static_cast<void>(!write(ready[1], "x", 1)); });
        _exit(1);
    }
    close(ready[1]);
    char byte = 0;
    if (read(ready[0], &byte, 1) != 1) {
        fail("a server did not start");
    }
    close(ready[0]);
}

Process::Process(const std::vector<std::string>& command) : id_(forkChild()) {
    if (id_ == 0) {
        std::vector<char*> words;
        words.reserve(command.size() + 1);
        for (const std::string& word : command) {
            words.push_back(const_cast<char*>(word.c_str()));
        }
        words.push_back(nullptr);
        const int quiet = open("/dev/null", O_RDWR);  // some complain about limits that an ordinary user may not raise
        dup2(quiet, STDIN_FILENO);
        dup2(quiet, STDOUT_FILENO);
        dup2(quiet, STDERR_FILENO);
        execvp(words[0], words.data());
        _exit(127);
    }
}

Process::~Process() {
    kill(id_, SIGKILL);
    waitpid(id_, nullptr, 0);
}

void await(const char* what, const std::function<bool()>& attempt) {
    for (int each = 0; !attempt(); ++each) {
        if (each == kAttempts) {
            fail(what);
        }
        usleep(kPauseUs);
    }
}

}  // namespace bench
