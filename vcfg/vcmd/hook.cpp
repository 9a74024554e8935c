#include "hook.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/wait.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <new>
#include <vector>

#include "recorder/events.h"
#include "recorder/program.h"

namespace vcfg::vcmd {
namespace {

constexpr size_t kMaxOutput = 65536;
// A hook that complains without end must not keep vcmd from everything else; of one that has ended, all is read that
// the kernel may have kept.
constexpr unsigned kMostPiecesAtOnce = 16;
constexpr unsigned kMostPiecesAtEnd = 4096;
constexpr int kCannotExecute = 126;

// The input as a file: the hook may read it when and as far as it likes, and nobody has to feed it.
Fd inputFile(const std::string& input) {
    Fd file(memfd_create("hook-input", MFD_CLOEXEC));
    size_t done = 0;
    while (file && done < input.size()) {
        const ssize_t count = write(file.get(), input.data() + done, input.size() - done);
        if (count < 0 && errno != EINTR) {
            return Fd();
        }
        done += count > 0 ? static_cast<size_t>(count) : 0;
    }
    if (file) {
        lseek(file.get(), 0, SEEK_SET);
    }
    return file;
}

bool outputPipe(Fd& reader, Fd& writer) {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) {
        return false;
    }
    reader = Fd(ends[0]);
    writer = Fd(ends[1]);
    fcntl(reader.get(), F_SETFL, O_NONBLOCK);
    return true;
}

// Datagrams rather than a pipe: a process that outlives the hook keeps its standard error, and must not be killed by
// writing there when nobody listens any more.
bool complaintSocket(Fd& reader, Fd& writer) {
    int ends[2];
    if (socketpair(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0, ends) != 0) {
        return false;
    }
    reader = Fd(ends[0]);
    writer = Fd(ends[1]);
    return true;
}

// Only what hooks are promised: nothing of the starter's environment reaches them.
std::vector<std::string> cleanEnvironment(uint32_t event) {
    std::vector<std::string> all;
    if (event != 0) {
        all.push_back(std::string(recorder::kEnvironment) + "=" + std::to_string(event));
    }
    const char* path = getenv("PATH");
    all.push_back(std::string("PATH=") + (path != nullptr ? path : "/usr/sbin:/usr/bin:/sbin:/bin"));
    for (const char* name : {"VCFG_RUN_DIR", "VCFG_DATA_DIR"}) {
        const char* value = getenv(name);
        if (value != nullptr) {
            all.push_back(std::string(name) + "=" + value);
        }
    }
    return all;
}

std::vector<char*> pointers(std::vector<std::string>& texts) {
    std::vector<char*> all;
    all.reserve(texts.size() + 1);
    for (std::string& text : texts) {
        all.push_back(text.data());
    }
    all.push_back(nullptr);
    return all;
}

// In the child. Its own process group, so that a kill reaches what it has started too.
[[noreturn]] void becomeHook(char* const* arguments, char* const* environment, int input, int output, int complaints) {
    setpgid(0, 0);
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
    for (const int handled : {SIGPIPE, SIGINT, SIGUSR1, SIGUSR2}) {
        signal(handled, SIG_DFL);
    }
    if (dup2(input, STDIN_FILENO) < 0 || dup2(output, STDOUT_FILENO) < 0 || dup2(complaints, STDERR_FILENO) < 0 ||
        chdir("/") != 0) {
        _exit(kCannotExecute);
    }
    execve(arguments[0], arguments, environment);
    _exit(kCannotExecute);
}

// A program that others can write would let them act with vcmd's rights.
bool isOurs(const std::string& program) {
    struct stat status {};
    return stat(program.c_str(), &status) == 0 && S_ISREG(status.st_mode) &&
           (status.st_uid == 0 || status.st_uid == geteuid()) && (status.st_mode & (S_IWGRP | S_IWOTH)) == 0;
}

void noteStart(HookRun& run) {
    const uint32_t before = recorder::begin("hook", run.call.cause, titleOf(run.call));
    run.event = recorder::current();
    recorder::end(before);
}

bool fail(HookRun& run, const char* what) {
    run.failure = std::string(what) + ": " + strerror(errno);
    return false;
}

// A piece is as large as its writer likes, so it is asked for its size first.
void readComplaints(HookRun& run, unsigned most) {
    for (unsigned piece = 0; piece < most; ++piece) {
        const ssize_t size = recv(run.complaints.get(), nullptr, 0, MSG_DONTWAIT | MSG_PEEK | MSG_TRUNC);
        if (size < 0) {
            return;
        }
        std::string text(static_cast<size_t>(size), '\0');
        recv(run.complaints.get(), text.data(), text.size(), MSG_DONTWAIT);
        run.complaint.take(text);
    }
}

void readOutput(HookRun& run) {
    char buffer[4096];
    ssize_t count = 0;
    while (run.output && run.text.size() <= kMaxOutput && (count = read(run.output.get(), buffer, sizeof buffer)) > 0) {
        run.text.append(buffer, static_cast<size_t>(count));
    }
    if (run.output && count == 0) {
        run.output.reset();
    }
}

std::string describeStatus(int status, const std::string& complaint) {
    std::string text;
    if (WIFSIGNALED(status)) {
        text = "ended by signal " + std::to_string(WTERMSIG(status));
    } else if (WEXITSTATUS(status) == kCannotExecute) {
        text = "cannot be executed";
    } else {
        text = "ended with status " + std::to_string(WEXITSTATUS(status));
    }
    return complaint.empty() ? text : text + ", \"" + complaint + "\"";
}

void takeEnd(HookRun& run, int status) {
    readComplaints(run, kMostPiecesAtEnd);
    readOutput(run);
    if (run.failure.empty() && run.text.size() > kMaxOutput) {
        run.failure = "wrote more than " + std::to_string(kMaxOutput) + " bytes";
    }
    if (run.failure.empty() && status != 0) {
        run.failure = describeStatus(status, run.complaint.line());
    }
}

}  // namespace

std::string titleOf(const HookCall& call) {
    const size_t folder = call.program.rfind('/', call.program.rfind('/') - 1) + 1;
    return call.program.substr(folder) + " " + call.action + " " + call.path;
}

bool startHook(HookCall call, uint32_t limitMs, HookRun& run) {
    run.call = std::move(call);
    noteStart(run);
    run.deadline = Deadline::in(limitMs);
    if (!isOurs(run.call.program)) {
        run.failure = "is not run: it must be a file that only root or vcmd's own user can write";
        return false;
    }
    const Fd input = inputFile(run.call.input);
    Fd output;
    Fd complaints;
    if (!input || !complaintSocket(run.complaints, complaints)) {
        return fail(run, "no descriptors for a hook");
    }
    if (run.call.wantsOutput ? !outputPipe(run.output, output)
                             : !(output = Fd(open("/dev/null", O_WRONLY | O_CLOEXEC)))) {
        return fail(run, "no output for a hook");
    }

    std::vector<std::string> arguments{run.call.program, run.call.action, run.call.path};
    std::vector<std::string> environment = cleanEnvironment(run.event);
    const std::vector<char*> argumentPointers = pointers(arguments);
    const std::vector<char*> environmentPointers = pointers(environment);
    run.pid = fork();
    if (run.pid == 0) {
        becomeHook(argumentPointers.data(), environmentPointers.data(), input.get(), output.get(), complaints.get());
    }
    if (run.pid < 0) {
        return fail(run, "no process for a hook");
    }
    setpgid(run.pid, run.pid);
    return true;
}

void tendHook(HookRun& run) {
    readComplaints(run, kMostPiecesAtOnce);
    readOutput(run);
    if (!run.failure.empty()) {
        return;
    }
    if (run.deadline.passed()) {
        run.failure = "was killed, its time was up";
    } else if (run.text.size() > kMaxOutput) {
        run.failure = "was killed, it wrote more than " + std::to_string(kMaxOutput) + " bytes";
    }
    if (!run.failure.empty()) {
        killHook(run);
    }
}

bool reapHook(HookRun& run) {
    int status = 0;
    if (waitpid(run.pid, &status, WNOHANG) != run.pid) {
        return false;
    }
    run.pid = -1;
    run.status = status;
    try {
        takeEnd(run, status);
    } catch (const std::bad_alloc&) {
        run.failure = "memory is short";
    }
    run.output.reset();
    run.complaints.reset();
    return true;
}

void killHook(HookRun& run) {
    if (run.pid > 0) {
        kill(-run.pid, SIGKILL);
    }
}

}  // namespace vcfg::vcmd
