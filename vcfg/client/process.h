// What the system says of a process. Nothing where it shows no processes, as in a room with files of its own in /proc.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <string>

namespace vcfg {

// Its executable's name; of another user's process, what it calls itself. Empty when neither can be seen.
std::string programOf(pid_t process);

// 'R', 'S', 'T', 'Z' and so on; 0 when it cannot be seen.
char stateLetterOf(pid_t process);

// When it was started, on the monotonic clock in microseconds; 0 when that cannot be seen.
int64_t startOf(pid_t process);

}  // namespace vcfg
