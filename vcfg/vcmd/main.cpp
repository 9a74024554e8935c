// vcmd: the configuration daemon, endpoint 1.
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>

#include <climits>
#include <csignal>
#include <cstdlib>

#include "client/standard_streams.h"
#include "vcmd.h"

using namespace vcfg::vcmd;

namespace {

// A daemon runs in "/", so directories of the command line must not depend on where it was started.
std::string absolute(const std::string& path) {
    char directory[PATH_MAX];
    if (path.starts_with('/') || path.empty() || getcwd(directory, sizeof directory) == nullptr) {
        return path;
    }
    return std::string(directory) + "/" + path;
}

void makeAbsolute(Options& options) {
    for (std::string* path : {&options.runDir, &options.dataDir, &options.hookDir, &options.defaults}) {
        *path = absolute(*path);
    }
    setenv("VCFG_RUN_DIR", options.runDir.c_str(), 1);
    setenv("VCFG_DATA_DIR", options.dataDir.c_str(), 1);
}

void detachStreams() {
    const Fd nothing(open("/dev/null", O_RDWR | O_CLOEXEC));
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        dup2(nothing.get(), stream);
    }
}

// In the parent: ends with the child's success at serving.
[[noreturn]] void awaitChild(pid_t child, const Fd& ready) {
    char byte = 0;
    if (read(ready.get(), &byte, 1) == 1) {
        _exit(EXIT_SUCCESS);
    }
    waitpid(child, nullptr, 0);
    _exit(EXIT_FAILURE);
}

// Goes on in the child; what is returned tells the parent when it is written to.
Fd detach() {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) {
        return Fd();
    }
    Fd ready(ends[0]);
    Fd tell(ends[1]);
    const pid_t child = fork();
    if (child > 0) {
        tell.reset();
        awaitChild(child, ready);
    }
    setsid();
    return child == 0 ? std::move(tell) : Fd();
}

}  // namespace

int main(int argc, char** argv) {
    vcfg::holdStandardStreams();  // a hook's would otherwise take their place
    Vcmd vcmd;
    int status = EXIT_SUCCESS;
    if (!parseOptions(argc, argv, vcmd.options, status)) {
        return status;
    }
    makeAbsolute(vcmd.options);
    // Others tell daemons of theirs by user signals, whose pid files may have come to name this process.
    for (const int ignored : {SIGPIPE, SIGUSR1, SIGUSR2}) {
        signal(ignored, SIG_IGN);
    }
    umask(077);
    Fd tell;
    if (!vcmd.options.foreground && !(tell = detach())) {
        perror("vcmd: cannot detach");
        return EXIT_FAILURE;
    }
    if (!setUp(vcmd)) {
        return EXIT_FAILURE;
    }
    if (!vcmd.options.foreground) {
        if (chdir("/") != 0 || write(tell.get(), "", 1) != 1) {
            return EXIT_FAILURE;
        }
        tell.reset();
        detachStreams();
    }
    return run(vcmd) ? EXIT_SUCCESS : EXIT_FAILURE;
}
