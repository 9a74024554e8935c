// What is tried now, said by a process that dies of it.
#pragma once

namespace faults {

extern char now[256];
void dieWithLastWords();

}  // namespace faults
