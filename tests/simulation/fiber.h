// The daemon's threads, as threads that take turns: one runs at a time, and which one is drawn from the story's chance,
// so that a story goes the same way each time. A thread gives its turn back where it waits, and now and then where it
// reaches for the world outside.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace sim {

// What the thread is at, as far as others may hold it to that: the event's name, and the objects that it may write.
struct Errand {
    std::string name;
    std::vector<std::string> mayWrite;
    uint64_t linkTurn = 0;  // in which it has done link work
};

namespace fibers {

void start(const std::string& name, const Errand& errand, std::function<void()> body);
// Lets one thread that can go on do so until it gives its turn back; false when all wait.
bool runOne();
size_t count();
// The next moment for which a thread sleeps; UINT64_MAX when none does.
uint64_t nextWake();

// Of threads that do not come to their end.
void abandonAllBut(size_t first);

// --- on a thread ---
void waitFor(std::function<bool()> ready);
void sleepUntil(uint64_t timeMs);
void perhapsYield();
Errand& errand();
uint32_t number();  // of this thread, from 1; 0 on none

}  // namespace fibers
}  // namespace sim
