// One room of the world: a machine of its own (file system, processes, network, host name), the gateway or a neighbour.
#pragma once

#include <string>
#include <utility>
#include <vector>

struct Room {
    std::string name;
    std::vector<std::string> layers;                         // trees laid over the host's root, the last one on top
    std::vector<std::pair<std::string, std::string>> binds;  // host directory -> place inside
};

// Builds the room's root below `place` (an empty directory) and makes it this process's root. The process must already
// have mount, PID and network namespaces of its own. Throws std::system_error that says which step failed.
void enterRoom(const Room& room, const std::string& place);
