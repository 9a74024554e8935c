#include "counted_event.h"

#include <fcntl.h>
#include <time.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <mutex>

namespace counted {
namespace {

thread_local Event* current = nullptr;
thread_local double began = 0;
thread_local bool inside = false;

double now() {
    timespec time{};
    clock_gettime(CLOCK_MONOTONIC, &time);
    return static_cast<double>(time.tv_sec) * 1e6 + static_cast<double>(time.tv_nsec) / 1e3;
}

void report(const Event& event) {
    const char* const path = getenv("BENCH_EVENTS");
    static const int pipe = path != nullptr ? open(path, O_WRONLY | O_CLOEXEC) : -1;
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

}  // namespace

struct Start {
    void* (*body)(void*);
    void* argument;
    Event* event;
};

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

void end(uint32_t type) {
    if (current != nullptr && current->type == type) {
        end();
    }
}

void count(std::atomic<unsigned> Event::*what) {
    if (current != nullptr && !inside) {
        ++(current->*what);
    }
}

Call::Call(std::atomic<unsigned> Event::*what) : outermost_(!inside) {
    count(what);
    inside = true;
}

Call::~Call() {
    inside = !outermost_;
}

Start* newStart(void* (*body)(void*), void* argument) {
    if (current == nullptr) {
        return nullptr;
    }
    ++current->holders;
    return new Start{body, argument, current};
}

void* run(void* start) {
    const Start mine = *static_cast<Start*>(start);
    delete static_cast<Start*>(start);
    current = mine.event;
    void* const result = mine.body(mine.argument);
    release(mine.event);
    return result;
}

void forget(Start* start) {
    --start->event->holders;
    delete start;
}

}  // namespace counted
