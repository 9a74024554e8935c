#include "monitors.h"

#include "run_dir.h"

namespace vcfg::bus {
namespace {

constexpr uint32_t kByte = 0xff;

uint32_t shiftOf(size_t place) {
    return static_cast<uint32_t>(8 * place);
}

// The place in the word that has this byte; kMonitors when none has.
size_t placeOf(uint32_t word, uint8_t byte) {
    size_t place = 0;
    while (place < Roster::kMonitors && (word >> shiftOf(place) & kByte) != byte) {
        ++place;
    }
    return place;
}

// Changes the byte; false when no place has it.
bool exchangeByte(uint8_t from, uint8_t to, size_t* place) {
    std::atomic<uint32_t>& word = roster.load(std::memory_order_relaxed)->monitors;
    uint32_t before = word.load();
    uint32_t after = 0;
    do {
        *place = placeOf(before, from);
        if (*place == Roster::kMonitors) {
            return false;
        }
        after = (before & ~(kByte << shiftOf(*place))) | uint32_t{to} << shiftOf(*place);
    } while (!word.compare_exchange_weak(before, after));
    return true;
}

}  // namespace

bool takePlace(uint8_t number, bool whole, size_t* place) {
    Roster& all = *roster.load(std::memory_order_relaxed);
    *place = placeOf(all.monitors.load(), number);
    if (*place == Roster::kMonitors && !exchangeByte(0, number, place)) {
        return false;
    }
    const uint32_t bit = 1U << *place;
    whole ? all.whole.fetch_or(bit) : all.whole.fetch_and(~bit);
    return true;
}

bool leavePlace(uint8_t number) {
    Roster& all = *roster.load(std::memory_order_relaxed);
    size_t place = placeOf(all.monitors.load(), number);
    if (number == 0 || place == Roster::kMonitors) {
        return false;
    }
    all.whole.fetch_and(~(1U << place));
    return exchangeByte(number, 0, &place);
}

uint8_t freshMonitorNumber() {
    Roster& all = *roster.load(std::memory_order_relaxed);
    uint8_t number = 0;
    while (number == 0 || placeOf(all.monitors.load(), number) < Roster::kMonitors) {
        number = static_cast<uint8_t>(all.lastMonitor.fetch_add(1) + 1);
    }
    return number;
}

uint32_t lostOf(size_t place) {
    return roster.load(std::memory_order_relaxed)->lost[place].load();
}

std::string monitorPath(uint8_t number) {
    return runDirectory() + "/monitor-" + std::to_string(number);
}

}  // namespace vcfg::bus
