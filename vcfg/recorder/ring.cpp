#include "ring.h"

#include <algorithm>
#include <bit>
#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "client/shared_file.h"
#include "program.h"

namespace vcfg::recorder {
namespace {

constexpr size_t kWordsEach = kSlotWords - 1;
constexpr size_t kSlotBytes = kWordsEach * sizeof(uint32_t);

size_t slotsOf(const Entry& entry) {
    return (offsetof(Entry, text) + entry.length + kSlotBytes - 1) / kSlotBytes;
}

using Words = std::array<uint32_t, Entry::kMostSlots * kWordsEach>;

size_t wordsIn(const Entry& entry) {
    return (offsetof(Entry, text) + entry.length + sizeof(uint32_t) - 1) / sizeof(uint32_t);
}

// Zeros follow the text up to a whole word.
size_t toWords(const Entry& entry, Words& words) {
    const size_t count = wordsIn(entry);
    words[count - 1] = 0;
    memcpy(words.data(), &entry, offsetof(Entry, text) + entry.length);
    return count;
}

uint32_t checkOf(const Words& words, size_t count, uint32_t number) {
    uint32_t sum = number;
    for (size_t each = 1; each < count; ++each) {
        sum = std::rotl(sum, 5) + words[each] * 0x9e3779b1;
    }
    return sum;
}

bool isWanted() {
    const char* setting = getenv("VCFG_RECORDER");
    return setting == nullptr || strcmp(setting, "0") != 0;
}

}  // namespace

constinit std::atomic<File*> file{nullptr};

void attachRecorder() {
    static const bool wanted = isWanted() && (takeEnvironment(), true);
    static bus::SharedFile& shared =
        *new bus::SharedFile("recorder", sizeof(File), File::kLayout, bus::SharedFile::Bad::Replaced);
    if (void* mapped = wanted ? shared.attach() : nullptr; mapped != nullptr) {
        file.store(static_cast<File*>(mapped), std::memory_order_release);
    }
}

void append(Entry& entry, std::string_view text) {
    entry.length = static_cast<uint16_t>(entry.length +
                                         text.copy(entry.text.data() + entry.length, entry.text.size() - entry.length));
}

void appendField(Entry& entry, std::string_view text) {
    append(entry, text.substr(0, entry.text.size() - std::min<size_t>(entry.text.size(), entry.length + 1u)));
    append(entry, {"", 1});
}

uint32_t checkOf(const Entry& entry, uint32_t number) {
    Words words;
    const size_t count = toWords(entry, words);
    return checkOf(words, count, number);
}

// A slot that is being written has no number. One writer may be so slow that another one has come round to its slots,
// and the number's going may be seen after what comes then: the check tells.
void store(File& into, Lane lane, Entry& entry) {
    entry.slots = static_cast<uint8_t>(slotsOf(entry));
    const uint32_t first = into.next[static_cast<size_t>(lane)].fetch_add(entry.slots, std::memory_order_relaxed);
    Words words;
    const size_t count = toWords(entry, words);
    words[0] = checkOf(words, count, first);
    for (uint32_t each = 0; each < entry.slots; ++each) {
        into.at(lane, first + each).number.store(0, std::memory_order_relaxed);
    }
    for (size_t each = 0; each < count; ++each) {
        Slot& slot = into.at(lane, first + static_cast<uint32_t>(each / kWordsEach));
        slot.words[each % kWordsEach].store(words[each], std::memory_order_relaxed);
    }
    for (uint32_t each = entry.slots; each > 0; --each) {
        into.at(lane, first + each - 1).number.store(tagOf(first + each - 1), std::memory_order_release);
    }
}

}  // namespace vcfg::recorder
