// What the processes of one bus know of each other without asking: who serves which endpoint, by its own word, and
// whether anybody looks at what passes. A file in the run directory that every one of them maps.
#pragma once

#include <sys/types.h>

#include <array>
#include <atomic>
#include <cstdint>
#include <string>

namespace vcfg::bus {

// 32 and 64 bit processes share it.
struct Roster {
    static constexpr uint32_t kLayout = 0x31524356;
    static constexpr size_t kMonitors = 4;
    static constexpr size_t kLongestProgram = 44;

    struct Entry {
        std::atomic<uint32_t> socket;  // inode of the file that it is about; 0 while it is written
        std::atomic<uint32_t> process;
        std::atomic<uint32_t> sinceS;  // monotonic
        std::atomic<uint32_t> sinceUs;
        std::array<std::atomic<char>, kLongestProgram + 4> program;
    };

    std::atomic<uint32_t> layout;
    // A byte for each monitor: its number, 1 to 255, or 0. One word, so that to look whether there is any is one read.
    std::atomic<uint32_t> monitors;
    std::atomic<uint32_t> lastMonitor;
    std::array<std::atomic<uint32_t>, kMonitors> lost;  // copies that a monitor had no room for
    std::atomic<uint32_t> whole;  // a bit for each monitor's place: it takes payloads of any length
    std::array<uint32_t, 8> reserved;
    std::array<Entry, 256> entries;
};
static_assert(std::atomic<uint32_t>::is_always_lock_free && sizeof(Roster) == size_t{64} * 257);

// That of the run directory, once attachRoster() has been called and could have it; else an empty one.
extern std::atomic<Roster*> roster;

// Called wherever a process comes to the bus or makes a new connection on it: then a file that was made anew meanwhile
// is found, too.
void attachRoster();
bool isRosterThere();

// What a server says of itself, about the socket that it has put into the run directory.
struct Signature {
    bool there = false;
    pid_t process = 0;
    int64_t sinceUs = 0;
    std::string program;
};
void signRoster(uint8_t eid, ino_t socket);
Signature signatureOf(uint8_t eid, ino_t socket);

// The name that this process was started by.
std::string ownProgram();

}  // namespace vcfg::bus
