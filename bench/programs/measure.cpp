#include "measure.h"

#include <fcntl.h>
#include <ftw.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace bench {
namespace {

constexpr int kAttempts = 2000;
constexpr useconds_t kPauseUs = 5000;

void printFigures(const std::vector<double>& figures) {
    const char* separator = "[";
    for (const double figure : figures) {
        printf("%s%.3f", separator, figure);
        separator = ",";
    }
    puts("]");
}

void printNames(const std::vector<Measure>& measures) {
    const char* separator = "[";
    for (const Measure& measure : measures) {
        printf("%s\"%s\"", separator, measure.name.c_str());
        separator = ",";
    }
    puts("]");
    fflush(stdout);
}

const Measure& named(const std::vector<Measure>& measures, const std::string& name) {
    for (const Measure& measure : measures) {
        if (measure.name == name) {
            return measure;
        }
    }
    fail("no measure is called " + name);
}

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

int serve(const std::vector<Measure>& measures) {
    printNames(measures);
    int count = 0;
    char name[64];
    while (scanf("%d %63[^\n]", &count, name) == 2) {
        printFigures(named(measures, name).run(count));
        fflush(stdout);
    }
    return 0;
}

double microseconds(const std::function<void()>& work) {
    timespec from{};
    timespec to{};
    clock_gettime(CLOCK_MONOTONIC, &from);
    work();
    clock_gettime(CLOCK_MONOTONIC, &to);
    return static_cast<double>(to.tv_sec - from.tv_sec) * 1e6 + static_cast<double>(to.tv_nsec - from.tv_nsec) / 1e3;
}

std::vector<double> microsecondsOfEach(int count, const std::function<void()>& work) {
    std::vector<double> figures;
    for (int each = 0; each < count; ++each) {
        figures.push_back(microseconds(work));
    }
    return figures;
}

Measure oneWay(const std::function<void(int)>& batch) {
    return {"one way", [=](int count) { return std::vector{count * 1e6 / microseconds([&] { batch(count); })}; }};
}

std::vector<Measure> calls(const std::function<void(size_t)>& call) {
    std::vector<Measure> measures;
    for (const size_t payload : kPayloads) {
        measures.push_back({"call " + std::to_string(payload),
                            [=](int count) { return microsecondsOfEach(count, [&] { call(payload); }); }});
    }
    return measures;
}

std::vector<Measure> operator+(std::vector<Measure> left, Measure right) {
    left.push_back(std::move(right));
    return left;
}

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
