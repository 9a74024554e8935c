// What events of the daemon cost: each thread counts for the event that it works for.
#pragma once

#include <atomic>
#include <cstdint>

namespace counted {

constexpr uint32_t kKernelEvent = 0;

struct Event {
    unsigned number;
    uint32_t type;
    double handled;            // microseconds
    std::atomic<int> holders;  // threads that work for it
    std::atomic<unsigned> reads;
    std::atomic<unsigned> writes;
    std::atomic<unsigned> messages;
    std::atomic<unsigned> processes;
};

void begin(uint32_t type);
void end(uint32_t type);  // of the calling thread's event, if it is of that type
void end();               // of any type
void count(std::atomic<unsigned> Event::*what);

// One call of the framework. What it calls of its own functions meanwhile is its affair.
class Call {
  public:
    explicit Call(std::atomic<unsigned> Event::*what);
    ~Call();
    Call(const Call&) = delete;
    Call& operator=(const Call&) = delete;

  private:
    bool outermost_;
};

// A thread that the calling one starts works for its event, too.
struct Start;
Start* newStart(void* (*body)(void*), void* argument);  // null outside an event
void* run(void* start);                                 // the thread's body
void forget(Start* start);                              // it could not be started

}  // namespace counted
