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

size_t wordsIn(const Entry& entry) {
    return (offsetof(Entry, text) + entry.length + sizeof(uint32_t) - 1) / sizeof(uint32_t);
}

uint32_t wordOf(const Entry& entry, size_t each) {
    uint32_t word = 0;
    memcpy(&word, reinterpret_cast<const char*>(&entry) + each * sizeof word, sizeof word);
    return word;
}

uint32_t add(uint32_t sum, uint32_t word) {
    return std::rotl(sum, 5) + word * 0x9e3779b1;
}

// Zeros follow the text up to a whole word, and it has room for them.
void padText(Entry& entry) {
    static_assert(Entry::kMostText % sizeof(uint32_t) == 0);
    if (const size_t missing = -size_t{entry.length} % sizeof(uint32_t); missing != 0) {
        memset(entry.text.data() + entry.length, 0, missing);
    }
}

// Copies the words from one to another into a slot, and sums them up on the way.
uint32_t copy(const Entry& entry, size_t begin, size_t end, std::atomic<uint32_t>* into, uint32_t sum) {
    for (size_t each = begin; each < end; ++each) {
        const uint32_t word = wordOf(entry, each);
        into++->store(word, std::memory_order_relaxed);
        sum = add(sum, word);
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
    append(entry, {"\0", 1});
}

uint32_t checkOf(const Entry& entry, uint32_t number) {
    uint32_t sum = number;
    for (size_t each = 1; each < wordsIn(entry); ++each) {
        sum = add(sum, wordOf(entry, each));
    }
    return sum;
}

// A slot that is being written has no number, and the first one gets its number last. One writer may be so slow that
// another one has come round to its slots, and the number's going may be seen after what comes then: the check tells.
void store(File& into, Lane lane, Entry& entry) {
    padText(entry);
    const size_t count = wordsIn(entry);
    const auto slots = static_cast<uint8_t>((count + kWordsEach - 1) / kWordsEach);
    entry.slots = slots;
    const uint32_t first = into.next[static_cast<size_t>(lane)].fetch_add(slots, std::memory_order_relaxed);
    Slot& begin = into.at(lane, first);
    begin.number.store(0, std::memory_order_relaxed);
    uint32_t sum = copy(entry, 1, std::min(count, kWordsEach), &begin.words[1], first);
    for (uint32_t each = 1; each < slots; ++each) {
        Slot& slot = into.at(lane, first + each);
        slot.number.store(0, std::memory_order_relaxed);
        sum = copy(entry, each * kWordsEach, std::min(count, (each + 1) * kWordsEach), slot.words.data(), sum);
        slot.number.store(tagOf(first + each), std::memory_order_release);
    }
    begin.words[0].store(sum, std::memory_order_relaxed);
    begin.number.store(tagOf(first), std::memory_order_release);
    __builtin_prefetch(&into.at(lane, first + slots), 1);  // for the next one, whoever stores it
}

}  // namespace vcfg::recorder
