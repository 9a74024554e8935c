#include "thread.h"

#include <pthread.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cstring>

#include "program.h"
#include "store/clock.h"

namespace vcfg::recorder {
namespace {

std::atomic<uint32_t> forks{0};
[[maybe_unused]] const int forkHandler =
    pthread_atfork(nullptr, nullptr, [] { forks.fetch_add(1, std::memory_order_relaxed); });

// The program's event, and in which child of the process it began.
std::atomic<uint32_t> program{0};
std::atomic<uint32_t> programForks{0};

bool isProgramKnown(const Thread& thread) {
    return program.load(std::memory_order_acquire) != 0 && programForks.load(std::memory_order_relaxed) == thread.forks;
}

// It begins no later than what it is needed for.
[[gnu::cold]] void beginProgram(File& into, const Thread& thread, const Entry& first) {
    Entry entry = entryOf(Kind::Event, thread);
    entry.timeLow = first.timeLow;
    entry.timeHigh = first.timeHigh;
    describeProgram(entry);
    entry.event = into.lastEvent.fetch_add(1, std::memory_order_relaxed) + 1;
    store(into, Lane::Lasting, entry);
    programForks.store(thread.forks, std::memory_order_relaxed);
    program.store(entry.event, std::memory_order_release);
}

uint32_t programEvent(File& into, const Thread& thread, const Entry& first) {
    if (!isProgramKnown(thread)) {
        beginProgram(into, thread, first);
    }
    return program.load(std::memory_order_relaxed);
}

// Every read of the model looks at it: its place is known from the start, without a call.
[[gnu::tls_model("initial-exec")]] constinit thread_local Thread self{};

[[gnu::cold]] void beginThread(uint32_t now) {
    self = Thread{};
    self.forks = now;
    self.process = static_cast<uint32_t>(getpid());
    self.thread = static_cast<uint32_t>(syscall(SYS_gettid));
}

}  // namespace

bool isAtEvent() {
    return self.event != 0;
}

Thread& mine() {
    const uint32_t now = forks.load(std::memory_order_relaxed);
    if (self.process == 0 || self.forks != now) {
        beginThread(now);
    }
    return self;
}

void start(Entry& entry, Kind kind, const Thread& thread, int64_t timeUs) {
    const auto now = static_cast<uint64_t>(timeUs != 0 ? timeUs : monotonicUs());
    memset(&entry, 0, offsetof(Entry, text));
    entry.kind = kind;
    entry.event = thread.event;
    entry.timeLow = static_cast<uint32_t>(now);
    entry.timeHigh = static_cast<uint32_t>(now >> 32);
    entry.process = thread.process;
    entry.thread = thread.thread;
}

Entry entryOf(Kind kind, const Thread& thread) {
    Entry entry;
    start(entry, kind, thread);
    return entry;
}

void open(File& into, Thread& thread) {
    uint32_t id = 0;
    while (id == 0) {
        id = into.lastEvent.fetch_add(1, std::memory_order_relaxed) + 1;
    }
    thread.event = id;
    thread.begun.event = id;
    thread.isMessage = thread.begun.kind == Kind::Received;
    thread.isKept = false;
    thread.changes = 0;
    store(into, Lane::Brief, thread.begun);
}

void keep(File& into, Thread& thread) {
    if (thread.event != 0 && !thread.isKept) {
        thread.isKept = true;
        store(into, Lane::Lasting, thread.begun);
    }
}

void add(File& into, Thread& thread, Lane lane, Entry& entry) {
    if (thread.event == 0) {
        entry.event = programEvent(into, thread, entry);
    } else if (lane == Lane::Lasting) {
        keep(into, thread);
    }
    store(into, lane, entry);
}

}  // namespace vcfg::recorder
