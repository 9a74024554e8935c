// The daemon's grip on the operating system, between it and the recorder of the unit tests: refused where a fault is
// due. The linker leads the calls here (--wrap), by the names that the compiler gave them.
#include <sys/socket.h>
#include <vcfg/codes.h>

#include <cerrno>
#include <memory>

#include "core/os.h"
#include "injector.h"

namespace {

bool refused() {
    if (!faults::strikes(faults::Kind::System)) {
        return false;
    }
    errno = EAGAIN;
    return true;
}

}  // namespace

#define TEXT "RKNSt7__cxx1112basic_stringIcSt11char_traitsIcESaIcEEE"
#define VIEW "St17basic_string_viewIcS3_E"

// A function of tarn/core/os.h with its arguments, and what it answers when it is refused.
#define FALLIBLE(result, name, symbol, parameters, arguments, failed) \
    result real_##name parameters asm("__real__ZN2os" symbol);        \
    result wrapped_##name parameters asm("__wrap__ZN2os" symbol);     \
    result wrapped_##name parameters {                                \
        if (refused()) {                                              \
            return failed;                                            \
        }                                                             \
        const faults::Spared itsOwn;                                  \
        return real_##name arguments;                                 \
    }
// One that has nothing to tell of a failure.
#define SPARED(result, name, symbol, parameters, arguments)       \
    result real_##name parameters asm("__real__ZN2os" symbol);    \
    result wrapped_##name parameters asm("__wrap__ZN2os" symbol); \
    result wrapped_##name parameters {                            \
        const faults::Spared itsOwn;                              \
        return real_##name arguments;                             \
    }

using Visit = void(std::string_view bytes, void* context);

FALLIBLE(int, runCommand, "10runCommandE" TEXT, (const std::string& command), (command), -1)
FALLIBLE(std::optional<std::string>, firstLineOf, "11firstLineOfE" TEXT "m", (const std::string& command, size_t limit),
         (command, limit), std::nullopt)
FALLIBLE(std::optional<std::string>, readFile, "8readFileE" TEXT "m", (const std::string& path, size_t limit),
         (path, limit), std::nullopt)
FALLIBLE(bool, fileExists, "10fileExistsE" TEXT, (const std::string& path), (path), false)
FALLIBLE(bool, visitFile, "9visitFileE" TEXT "PFvSt17basic_string_viewIcS3_EPvESA_",
         (const std::string& path, Visit* visit, void* context), (path, visit, context), false)
FALLIBLE(bool, writeFile, "9writeFileE" TEXT VIEW, (const std::string& path, std::string_view text), (path, text),
         false)
FALLIBLE(int, signalProcess, "13signalProcessEii", (pid_t process, int signal), (process, signal), -1)
FALLIBLE(std::optional<uint32_t>, uptimeSeconds, "13uptimeSecondsEv", (), (), std::nullopt)
SPARED(void, systemLog, "9systemLogEi" TEXT, (int priority, const std::string& text), (priority, text))
SPARED(void, standardOutput, "14standardOutputE" TEXT, (const std::string& text), (text))
SPARED(void, sleepMs, "7sleepMsEj", (uint32_t milliseconds), (milliseconds))
SPARED(int64_t, now, "3nowEv", (), ())

// What is tried: a message, and a thread.
void realRequest() asm("__real__Z14processRequestv");
void wrappedRequest() asm("__wrap__Z14processRequestv");
void wrappedRequest() {
    const faults::Exposed now;
    realRequest();
}

namespace {

struct Thread {
    void (*body)(void*);
    void* argument;
};

void runExposed(void* started) {
    const std::unique_ptr<Thread> thread(static_cast<Thread*>(started));
    const faults::Exposed now;
    thread->body(thread->argument);
}

}  // namespace

int realStart(void (*body)(void*), void* argument, size_t stackBytes) asm("__real__ZN2os11startThreadEPFvPvES0_m");
int wrappedStart(void (*body)(void*), void* argument, size_t stackBytes) asm("__wrap__ZN2os11startThreadEPFvPvES0_m");
int wrappedStart(void (*body)(void*), void* argument, size_t stackBytes) {
    if (refused()) {
        return VCFG_ERR_FAIL;
    }
    const faults::Spared itsOwn;
    return realStart(runExposed, std::make_unique<Thread>(Thread{body, argument}).release(), stackBytes);
}

extern "C" {
// NOLINTBEGIN(bugprone-reserved-identifier): the linker chose the names
ssize_t __real_send(int socket, const void* bytes, size_t size, int flags);
ssize_t __wrap_send(int socket, const void* bytes, size_t size, int flags);
ssize_t __wrap_send(int socket, const void* bytes, size_t size, int flags) {
    return refused() ? -1 : __real_send(socket, bytes, size, flags);
}
// NOLINTEND(bugprone-reserved-identifier)
}
