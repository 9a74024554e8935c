// What can happen in a story besides what the peers do of themselves.
#pragma once

#include "world.h"

namespace sim {

// One line of a story. `salt` is the chance of all that follows from it, so that a line that is left out changes
// nothing about the others.
struct Event {
    uint8_t kind;
    uint8_t choice;
    bool doubled;     // by its sender
    uint32_t waitMs;  // before it
    uint32_t delayMs;
    uint32_t turns;  // that the threads get before the next one
    uint64_t salt;
};

Event drawEvent(Chance& chance, bool withFaults);
void happen(const Event& event);
std::string wordsOf(const Event& event);
bool isFault(const Event& event);
bool isKnown(const Event& event);

}  // namespace sim
