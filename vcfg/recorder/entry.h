// What the recorder's file looks like: a head, and two rings of slots. 32 and 64 bit processes share it, and any of
// them may be killed at any moment, or write nonsense.
#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>

namespace vcfg::recorder {

// What is worth keeping long, and what only those ask for who look soon: reads, requests that change nothing. The
// latter are so many that they would push everything else out.
enum class Lane : uint8_t { Lasting, Brief };
inline constexpr size_t kLanes = 2;

enum class Kind : uint8_t {
    None,
    Event,     // text: kind, program, what; of a program also its parent and user, text: the parent's name
    Received,  // an event too, a message: type, ends, connection, order; text: program
    End,       // of an event
    Step,      // result; text: kind, what
    Sent,      // type, ends, connection, order; of a request to vcmd its object in `cause`; text: instance, place
    Failed,    // what became of the message sent or called before: type, ends, code
    Answer,    // type, ends, result
    Read,      // object, instance, result; the change's number in `cause`
    Changed,   // object and parameter, instance, how much was there; text: the value before, the value behind
};

// What changed is the instance itself: it came, or it went.
inline constexpr uint16_t kNoParameter = 0xffff;

inline constexpr size_t kSlotWords = 16;

struct Slot {
    // The tag of its own number, stored last; another or 0 while it is written. The others are the entry's.
    std::atomic<uint32_t> number;
    std::array<std::atomic<uint32_t>, kSlotWords - 1> words;
};

// Numbers begin at 0, and a slot that was never written has no tag.
inline uint32_t tagOf(uint32_t number) {
    return number + 1;
}

// An entry takes one slot or several that follow each other. It begins with these words, and text behind them.
struct Entry {
    static constexpr size_t kMostSlots = 5;
    static constexpr size_t kHeadWords = 12;
    static constexpr size_t kMostText = (kMostSlots * (kSlotWords - 1) - kHeadWords) * sizeof(uint32_t);

    uint32_t check;  // over all that follows and the slot's number
    Kind kind;
    uint8_t slots;
    uint16_t length;  // of the text
    uint32_t event;
    uint32_t cause;
    uint32_t timeLow;  // monotonic, microseconds
    uint32_t timeHigh;
    uint32_t process;
    uint32_t thread;
    std::array<uint32_t, 4> numbers;
    std::array<char, kMostText> text;  // only the first `length` bytes are anything
};
static_assert(offsetof(Entry, text) == Entry::kHeadWords * sizeof(uint32_t));
static_assert(sizeof(Entry) == Entry::kMostSlots * (kSlotWords - 1) * sizeof(uint32_t));

struct File {
    static constexpr uint32_t kLayout = 0x31465643;
    static constexpr size_t kSize = size_t{256} * 1024;
    static constexpr size_t kSlots = kSize / sizeof(Slot) - 1;
    static constexpr std::array<uint32_t, kLanes> kBegin{0, 3071};
    static constexpr std::array<uint32_t, kLanes> kLength{3071, kSlots - 3071};

    std::atomic<uint32_t> layout;
    std::array<std::atomic<uint32_t>, kLanes> next;  // the number that the next slot of a lane gets
    std::atomic<uint32_t> lastEvent;
    std::atomic<uint32_t> lastConnection;
    std::array<uint32_t, 11> reserved;
    std::array<Slot, kSlots> slots;

    // Where that number of a lane has its place.
    Slot& at(Lane lane, uint32_t number) {
        const auto each = static_cast<size_t>(lane);
        return slots[kBegin[each] + number % kLength[each]];
    }
};
static_assert(sizeof(File) == File::kSize && std::atomic<uint32_t>::is_always_lock_free);

}  // namespace vcfg::recorder
