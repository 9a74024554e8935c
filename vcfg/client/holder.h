// Which process serves an endpoint now: for programs that would rather not take it over by a slip. The bus itself asks
// nobody: the newest process serves.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <string>

namespace vcfg::bus {

struct Holder {
    bool there = false;
    pid_t process = 0;    // 0 when it is of another process namespace
    std::string program;  // its executable's name, else "?"

    // "process 12 (vcmd)"
    std::string text() const;
};

Holder holderOf(uint8_t eid);

// The name of this process's executable.
std::string ownProgram();

}  // namespace vcfg::bus
