// Who looks at what passes on the bus. Every sender gives each monitor a copy, and none ever waits for one.
#pragma once

#include <vcfg/msg.h>

#include <array>
#include <string>
#include <string_view>

#include "roster.h"
#include "store/clock.h"

namespace vcfg::bus {

enum class Passing : uint32_t {
    Message = 1,  // nobody waits for its answer
    Call,
    Answer,   // by the connection that the call came by
    Failure,  // what was sent did not arrive, or nothing came back: `code`
    Event,    // what reached the sender otherwise, by its own word; only for monitors that ask for whole copies
    Step,     // what it did about it: `code` is the result
    Taken,    // an answer, by who got it; only for the same monitors
};

// What precedes the envelope in a copy. Behind it is the payload, up to kMostCopied bytes of it, or all for a monitor
// that asks for whole ones.
struct CopyHeader {
    static constexpr uint32_t kLayout = 0x32505943;

    uint32_t layout;
    Passing passing;
    uint32_t timeS;  // monotonic; a call's is taken before it is sent, an answer's too
    uint32_t timeUs;
    int32_t code;
    uint32_t thread;
    uint32_t event;  // that the sender's thread is at
    std::array<char, Roster::kLongestProgram> program;
};
inline constexpr size_t kMostCopied = 4096;

// Copies are connections, which end some time after their monitor.
extern std::atomic<uint32_t> openCopies;

// All that a message costs when nobody looks. What is behind the pointer was there before it, so no order is needed.
inline bool isWatched() {
    return (roster.load(std::memory_order_relaxed)->monitors.load(std::memory_order_relaxed) |
            openCopies.load(std::memory_order_relaxed)) != 0;
}

void copyToMonitors(Passing passing, const vcfg_msg_t& message, int code, int64_t timeUs);

// Before a call or a message is sent, so that no monitor hears of its answer first.
inline void copySent(Passing passing, const vcfg_msg_t& message) {
    if (isWatched()) {
        copyToMonitors(passing, message, 0, monotonicUs());
    }
}
// Of a message to `dstEid`, as far as it is known.
void copyFailure(const vcfg_msg_t& message, int code);

// What a process says of itself. The payload of its copy is both texts and the bytes, with a NUL behind each.
struct Note {
    Passing passing;
    std::string_view kind;
    std::string_view what;
    int result;
    uint32_t cause;  // of an event; the `oid` of the copy
    std::string_view bytes;
    uint8_t forEid = 0;  // whom it was done for, when that was another; the `srcEid` of the copy
};
// Whether anybody asks for such.
inline bool isRecorded() {
    return roster.load(std::memory_order_relaxed)->whole.load(std::memory_order_relaxed) != 0;
}
void copyNote(const Note& note);
void copyTaken(const vcfg_msg_t& answer);

// For monitors. A place among those that look; false when all are taken.
bool takePlace(uint8_t number, bool whole, size_t* place);
// False when it had none.
bool leavePlace(uint8_t number);
uint8_t freshMonitorNumber();
uint32_t lostOf(size_t place);
std::string monitorPath(uint8_t number);

}  // namespace vcfg::bus
