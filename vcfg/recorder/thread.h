// What the calling thread is at.
#pragma once

#include <sys/types.h>

#include "ring.h"

namespace vcfg::recorder {

struct Thread {
    uint32_t forks;
    uint32_t process;  // 0 before the first entry
    uint32_t thread;
    uint32_t event;
    bool isMessage;
    bool isKept;  // the event's begin is in the lasting lane
    uint16_t changes;
    Entry begun;       // the begin of the event
    const char* file;  // where it is in the program's source; null when that is not known
    int line;
};

Thread& mine();

// Makes it an entry of the calling thread, at that time; now, when none is given.
void start(Entry& entry, Kind kind, const Thread& thread, int64_t timeUs = 0);
Entry entryOf(Kind kind, const Thread& thread);
// Makes the event, whose begin is in its place already, the thread's.
void open(File& into, Thread& thread);
// What follows from the event lasts: so does its begin.
void keep(File& into, Thread& thread);
// Stores an entry of the event that the thread is at. A thread that is at none is at what its process is: the program
// that was started.
void add(File& into, Thread& thread, Lane lane, Entry& entry);

}  // namespace vcfg::recorder
