#include "core/os.h"

#include <pthread.h>
#include <signal.h>
#include <sys/sysinfo.h>
#include <sys/utsname.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <memory>

namespace os {
namespace {

struct CloseFile {
    void operator()(FILE* file) const { fclose(file); }
};
using File = std::unique_ptr<FILE, CloseFile>;

struct Start {
    void (*body)(void*);
    void* argument;
};

void* runStart(void* data) {
    const std::unique_ptr<Start> start(static_cast<Start*>(data));
    start->body(start->argument);
    return nullptr;
}

}  // namespace

int runCommand(const std::string& command) {
    return system(command.c_str());
}

std::optional<std::string> firstLineOf(const std::string& command, size_t limit) {
    FILE* const pipe = popen(command.c_str(), "re");
    if (pipe == nullptr) {
        return std::nullopt;
    }
    std::string line;
    int character = 0;
    while ((character = fgetc(pipe)) != EOF && character != '\n') {
        if (line.size() < limit) {
            line.push_back(static_cast<char>(character));
        }
    }
    const bool gotLine = !line.empty() || character == '\n';
    while (fgetc(pipe) != EOF) {
    }
    pclose(pipe);
    return gotLine ? std::optional(line) : std::nullopt;
}

std::optional<std::string> readFile(const std::string& path, size_t limit) {
    const File file(fopen(path.c_str(), "re"));
    if (file == nullptr) {
        return std::nullopt;
    }
    std::string text;
    char chunk[4096];
    size_t got = 0;
    while (text.size() < limit &&
           (got = fread(chunk, 1, std::min(sizeof chunk, limit - text.size()), file.get())) > 0) {
        text.append(chunk, got);
    }
    return text;
}

bool writeFile(const std::string& path, std::string_view text) {
    File file(fopen(path.c_str(), "we"));
    if (file == nullptr) {
        return false;
    }
    const bool written = fwrite(text.data(), 1, text.size(), file.get()) == text.size();
    return fclose(file.release()) == 0 && written;
}

int signalProcess(pid_t process, int signal) {
    return kill(process, signal);
}

pid_t ownProcess() {
    return getpid();
}

void sleepMs(uint32_t milliseconds) {
    timespec left{static_cast<time_t>(milliseconds / 1000), static_cast<long>(milliseconds % 1000) * 1000000L};
    while (nanosleep(&left, &left) != 0) {
    }
}

std::optional<uint32_t> uptimeSeconds() {
    struct sysinfo info {};
    if (sysinfo(&info) != 0) {
        return std::nullopt;
    }
    return static_cast<uint32_t>(info.uptime);
}

int64_t now() {
    return static_cast<int64_t>(time(nullptr));
}

std::string kernelRelease() {
    utsname names{};
    return uname(&names) == 0 ? names.release : "";
}

bool startThread(void (*body)(void*), void* argument) {
    auto start = std::make_unique<Start>(Start{body, argument});
    pthread_attr_t attributes;
    if (pthread_attr_init(&attributes) != 0) {
        return false;
    }
    pthread_attr_setdetachstate(&attributes, PTHREAD_CREATE_DETACHED);
    pthread_t thread{};
    const bool started = pthread_create(&thread, &attributes, runStart, start.get()) == 0;
    pthread_attr_destroy(&attributes);
    if (started) {
        (void)start.release();  // runStart owns it now
    }
    return started;
}

}  // namespace os
