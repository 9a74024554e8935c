// What happens to the daemon in these tests, one handler after the other.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "support/kit.h"

namespace faults {

struct Event {
    std::string name;
    std::vector<std::function<void(Gateway&)>> steps;  // a message each
};

struct Group {
    std::string name;
    std::vector<Event> events;
};

// The seeds of the fuzz targets, a group for each handler, and what has no payload.
const std::vector<Group>& groups();

}  // namespace faults
