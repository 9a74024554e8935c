#include "core/os.h"

#include <fcntl.h>
#include <malloc.h>
#include <pthread.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/sysinfo.h>
#include <sys/utsname.h>
#include <time.h>
#include <unistd.h>
#include <vcfg/codes.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <memory>

#include "core/arrival.h"
#include "core/file.h"
#include "core/memory.h"

namespace os {
namespace {

// Whatever stands under the name, opening it does not wait, and what is no file is never read.
File openRegular(const std::string& path) {
    const int descriptor = open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
    struct stat about {};
    const bool regular = descriptor >= 0 && fstat(descriptor, &about) == 0 && S_ISREG(about.st_mode);
    FILE* const file = regular ? fdopen(descriptor, "r") : nullptr;
    if (file == nullptr && descriptor >= 0) {
        close(descriptor);
    }
    return File(file);
}

struct Start {
    void (*body)(void*) = nullptr;
    void* argument = nullptr;
    uint32_t cause = 0;
};

void* runStart(void* data) {
    const std::unique_ptr<Start> start(static_cast<Start*>(data));
    const Arrival arrival("thread", "", start->cause);
    start->body(start->argument);
    return nullptr;
}

}  // namespace

std::optional<std::string> readFile(const std::string& path, size_t limit) {
    const File file = openRegular(path);
    if (file == nullptr) {
        vcfgEventStep("file", path.c_str(), -1, nullptr, 0);
        return std::nullopt;
    }
    std::string text;
    char chunk[4096];
    size_t got = 0;
    while (text.size() < limit &&
           (got = fread(chunk, 1, std::min(sizeof chunk, limit - text.size()), file.get())) > 0) {
        text.append(chunk, got);
    }
    vcfgEventStep("file", path.c_str(), static_cast<int>(text.size()), text.data(), text.size());
    return text;
}

bool fileExists(const std::string& path) {
    return access(path.c_str(), F_OK) == 0;
}

bool writeFile(const std::string& path, std::string_view text) {
    const File file(fopen(path.c_str(), "we"));
    if (file == nullptr) {
        return false;
    }
    fwrite(text.data(), 1, text.size(), file.get());
    return true;
}

int signalProcess(pid_t process, int signal) {
    const int result = kill(process, signal);
    vcfgEventStep("signal", std::to_string(process).c_str(), result, nullptr, 0);
    return result;
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

void shareAllocations() {
#ifdef M_ARENA_MAX
    mallopt(M_ARENA_MAX, 1);
#endif
}

int startThread(void (*body)(void*), void* argument, size_t stackBytes) {
    auto start = allocate<Start>();
    pthread_attr_t attributes;
    if (start == nullptr || pthread_attr_init(&attributes) != 0) {
        return VCFG_ERR_FAIL;
    }
    *start = {body, argument, vcfgEventCurrent()};
    pthread_attr_setdetachstate(&attributes, PTHREAD_CREATE_DETACHED);
    if (stackBytes != 0) {
        pthread_attr_setstacksize(&attributes, stackBytes);
    }
    pthread_t thread{};
    const int result = pthread_create(&thread, &attributes, runStart, start.get());
    pthread_attr_destroy(&attributes);
    if (result != 0) {
        return VCFG_ERR_FAIL;
    }
    (void)start.release();  // runStart owns it now
    return VCFG_OK;
}

}  // namespace os
