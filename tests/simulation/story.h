// A story: what happens to one gateway from its start-up to its rest.
#pragma once

#include <string>
#include <vector>

#include "letters.h"

namespace sim {

struct Story {
    uint64_t seed = 0;
    int wanPriority = 3;
    int ethWanPriority = 0;
    std::vector<Event> events;
};

struct Outcome {
    std::string violation;  // empty: everything held
    size_t events = 0;      // until then
    uint64_t handled = 0;   // messages, kernel events and ticks that the daemon has handled
    bool faulty = false;
    bool lost = false;
};

Story storyOf(uint64_t seed, size_t events);
Outcome tell(const Story& story);
// The shortest story found that breaks the same rule.
Story shrink(const Story& story, const std::string& violation);

}  // namespace sim
