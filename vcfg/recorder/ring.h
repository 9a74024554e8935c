// The writing of entries.
#pragma once

#include <string_view>

#include "entry.h"

namespace vcfg::recorder {

// That of the run directory, once attachRecorder() has been called and could have it; else null, and nothing is
// recorded.
extern std::atomic<File*> file;

// Called wherever a process comes to the bus or makes a connection on it, as attachRoster(). $VCFG_RECORDER=0 keeps the
// process away from it.
void attachRecorder();

// As much of it as there is room for.
void append(Entry& entry, std::string_view text);
// The same with a NUL behind it.
void appendField(Entry& entry, std::string_view text);

// What stands over an entry that is stored under this number, which a reader finds again.
uint32_t checkOf(const Entry& entry, uint32_t number);

void store(File& into, Lane lane, Entry& entry);

}  // namespace vcfg::recorder
