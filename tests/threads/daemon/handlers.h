// What each handler of the daemon's dispatch table is sent.
#pragma once

#include <vector>

#include "lines.h"

struct Handler {
    uint32_t type;
    const char* name;
    std::vector<Event> events;  // good, odd and bad
};

// One per row of the table, with two events at least.
std::vector<Handler> allHandlers();
