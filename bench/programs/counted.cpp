// Preloaded into the daemon: says what each event cost it. BENCH_EVENTS names a pipe; a line of JSON goes there when a
// handler has returned, and once more when the threads that it started have ended, if it started any. What a thread
// does counts for the event that it was started for.
#include <dlfcn.h>
#include <fcntl.h>
#include <linux/netlink.h>
#include <pthread.h>
#include <spawn.h>
#include <sys/select.h>
#include <sys/socket.h>
#include <time.h>
#include <unistd.h>
#include <vcfg/vcfg.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <mutex>

namespace {

constexpr int kLinkMonitorProtocol = 25;
constexpr uint32_t kKernelEvent = 0;

struct Event {
    unsigned number;
    uint32_t type;
    double handled;
    std::atomic<int> holders;  // threads that work for it
    std::atomic<unsigned> reads;
    std::atomic<unsigned> writes;
    std::atomic<unsigned> messages;
    std::atomic<unsigned> processes;
};

thread_local Event* current = nullptr;
thread_local double began = 0;
thread_local bool inside = false;  // the framework's own calls of its functions are its affair

double now() {
    timespec time{};
    clock_gettime(CLOCK_MONOTONIC, &time);
    return static_cast<double>(time.tv_sec) * 1e6 + static_cast<double>(time.tv_nsec) / 1e3;
}

void report(const Event& event) {
    static const int pipe = open(getenv("BENCH_EVENTS"), O_WRONLY | O_CLOEXEC);
    char line[256];
    const int size =
        snprintf(line, sizeof line,
                 R"({"number":%u,"type":%u,"us":%.1f,"working":%d,"reads":%u,"writes":%u,"messages":%u,"processes":%u})"
                 "\n",
                 event.number, event.type, event.handled, event.holders.load(), event.reads.load(), event.writes.load(),
                 event.messages.load(), event.processes.load());
    static_cast<void>(!write(pipe, line, static_cast<size_t>(size)));
}

void release(Event* event) {
    static std::mutex guard;  // who is not the last one must have reported before the last one deletes
    current = nullptr;
    const std::lock_guard lock(guard);
    const int left = --event->holders;
    report(*event);
    if (left == 0) {
        delete event;
    }
}

void begin(uint32_t type) {
    static std::atomic<unsigned> events{0};
    current = new Event{++events, type, 0, 1, 0, 0, 0, 0};
    began = now();
}

void end() {
    if (current != nullptr) {
        current->handled = now() - began;
        release(current);
    }
}

void count(std::atomic<unsigned> Event::*what) {
    if (current != nullptr && !inside) {
        ++(current->*what);
    }
}

// One call of the framework.
class Counted {
  public:
    explicit Counted(std::atomic<unsigned> Event::*what) : outer_(!inside) {
        count(what);
        inside = true;
    }
    ~Counted() { inside = !outer_; }
    Counted(const Counted&) = delete;
    Counted& operator=(const Counted&) = delete;

  private:
    bool outer_;
};

struct Start {
    void* (*body)(void*);
    void* argument;
    Event* event;
};

void* runFor(void* data) {
    const Start start = *static_cast<Start*>(data);
    delete static_cast<Start*>(data);
    current = start.event;
    void* const result = start.body(start.argument);
    release(start.event);
    return result;
}

// The commands that the daemon runs have no business with it.
__attribute__((constructor)) void countOnlyHere() {
    unsetenv("LD_PRELOAD");
}

template <class Function>
Function* next(const char* name) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

}  // namespace

#define REAL(name) static auto* const real = next<decltype(::name)>(#name)
#define COUNTED(what, name, parameters, arguments) \
    int name parameters {                          \
        REAL(name);                                \
        const Counted counted(&Event::what);       \
        return real arguments;                     \
    }

extern "C" {
COUNTED(reads, vcfgFeObjStructGet, (uint32_t oid, objIndex* iid, void** record), (oid, iid, record))
COUNTED(reads, vcfgFeObjStructGetWithoutUpdate, (uint32_t oid, objIndex* iid, void** record), (oid, iid, record))
COUNTED(reads, vcfgFeObjStructGetNext, (uint32_t oid, objIndex* iid, void** record), (oid, iid, record))
COUNTED(reads, vcfgFeObjStructGetNextWithoutUpdate, (uint32_t oid, objIndex* iid, void** record), (oid, iid, record))
COUNTED(reads, vcfgFeSubInStructGetNext, (uint32_t oid, const objIndex* parent, objIndex* iid, void** record),
        (oid, parent, iid, record))
COUNTED(writes, vcfgFeObjStructSet, (uint32_t oid, const objIndex* iid, const void* record, void* feedback),
        (oid, iid, record, feedback))
COUNTED(writes, vcfgFeObjStructSetWithoutApply, (uint32_t oid, const objIndex* iid, const void* record, void* feedback),
        (oid, iid, record, feedback))
COUNTED(writes, vcfgFeObjStructBlockedSet, (uint32_t oid, const objIndex* iid, const void* record, void* feedback),
        (oid, iid, record, feedback))
COUNTED(writes, vcfgFeObjStructAdd, (uint32_t oid, objIndex* iid, void* feedback), (oid, iid, feedback))
COUNTED(writes, vcfgFeObjStructDel, (uint32_t oid, const objIndex* iid, void* feedback), (oid, iid, feedback))
COUNTED(writes, vcfgFeObjWrite, (uint32_t oid, const objIndex* iid, const char* json, uint32_t type, void* feedback),
        (oid, iid, json, type, feedback))
COUNTED(writes, vcfgFeObjJsonSetWithAdditions,
        (uint32_t oid, const objIndex* iid, json_object* json, uint32_t additions, uint32_t type, void* feedback),
        (oid, iid, json, additions, type, feedback))
COUNTED(messages, vcfg_msg_serverSend, (vcfg_msg_t * message), (message))
COUNTED(messages, vcfg_msg_sendAndGetReply, (vcfg_msg_t * message, vcfg_msg_t** reply, uint32_t timeoutMs),
        (message, reply, timeoutMs))

int system(const char* command) {
    REAL(system);
    count(&Event::processes);
    return real(command);
}

FILE* popen(const char* command, const char* mode) {
    REAL(popen);
    count(&Event::processes);
    return real(command, mode);
}

int posix_spawn(pid_t* process, const char* path, const posix_spawn_file_actions_t* actions,
                const posix_spawnattr_t* attributes, char* const arguments[], char* const environment[]) {
    REAL(posix_spawn);
    count(&Event::processes);
    return real(process, path, actions, attributes, arguments, environment);
}

int pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*body)(void*), void* argument) {
    REAL(pthread_create);
    if (current == nullptr) {
        return real(thread, attributes, body, argument);
    }
    ++current->holders;
    auto* const start = new Start{body, argument, current};
    const int code = real(thread, attributes, runFor, start);
    if (code != 0) {
        --current->holders;
        delete start;
    }
    return code;
}

// A message's event lasts from one wait for messages to the next, a link event's from one wait for the kernel to the
// next.
int vcfg_msg_serverRecv(vcfg_msg_t** message, uint32_t timeoutMs) {
    REAL(vcfg_msg_serverRecv);
    end();
    const int code = real(message, timeoutMs);
    if (code == VCFG_OK) {
        begin((*message)->type);
    }
    return code;
}

int select(int most, fd_set* readable, fd_set* writable, fd_set* failed, timeval* timeout) {
    REAL(select);
    if (current != nullptr && current->type == kKernelEvent) {
        end();
    }
    const int ready = real(most, readable, writable, failed, timeout);
    if (ready > 0 && timeout == nullptr) {
        begin(kKernelEvent);
    }
    return ready;
}

// This kernel has no link monitor: its family for programs that talk to each other takes the place.
int socket(int family, int type, int protocol) noexcept {
    REAL(socket);
    return real(family, type, family == AF_NETLINK && protocol == kLinkMonitorProtocol ? NETLINK_USERSOCK : protocol);
}
}
