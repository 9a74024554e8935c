#include "reader.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "client/descriptor.h"
#include "client/run_dir.h"
#include "ring.h"

namespace vcfg::recorder {
namespace {

constexpr size_t kSlotBytes = sizeof(Slot);
constexpr size_t kWordBytes = kSlotBytes - sizeof(uint32_t);

uint32_t wordAt(std::string_view bytes, size_t at) {
    uint32_t word = 0;
    memcpy(&word, bytes.data() + at, sizeof word);
    return word;
}

size_t placeOf(Lane lane, uint32_t number) {
    const auto each = static_cast<size_t>(lane);
    return kSlotBytes * (1 + File::kBegin[each] + number % File::kLength[each]);
}

// The entry that begins at that place of a lane, if one does and is whole.
bool take(std::string_view bytes, Lane lane, uint32_t index, Told* told) {
    const size_t begin = placeOf(lane, index);
    const uint32_t number = wordAt(bytes, begin) - 1;
    if (wordAt(bytes, begin) == 0 || placeOf(lane, number) != begin) {
        return false;
    }
    auto* const into = reinterpret_cast<char*>(&told->entry);
    memcpy(into, bytes.data() + begin + sizeof(uint32_t), kWordBytes);
    Entry& entry = told->entry;
    if (entry.slots == 0 || entry.slots > Entry::kMostSlots || entry.length > entry.text.size() ||
        (offsetof(Entry, text) + entry.length + kWordBytes - 1) / kWordBytes != entry.slots) {
        return false;
    }
    for (uint32_t each = 1; each < entry.slots; ++each) {
        const size_t place = placeOf(lane, number + each);
        if (wordAt(bytes, place) != tagOf(number + each)) {
            return false;
        }
        memcpy(into + each * kWordBytes, bytes.data() + place + sizeof(uint32_t), kWordBytes);
    }
    told->lane = lane;
    told->number = number;
    return entry.check == checkOf(entry, number);
}

}  // namespace

std::string_view Told::field(size_t each) const {
    std::string_view rest(entry.text.data(), entry.length);
    for (; each > 0; --each) {
        const size_t end = rest.find('\0');
        rest.remove_prefix(end == rest.npos ? rest.size() : end + 1);
    }
    return rest.substr(0, rest.find('\0'));
}

std::string recorderPath() {
    return bus::runDirectory() + "/recorder";
}

std::vector<Told> entriesIn(std::string_view bytes) {
    std::vector<Told> all;
    if (bytes.size() < File::kSize || wordAt(bytes, 0) != File::kLayout) {
        return all;
    }
    for (const Lane lane : {Lane::Lasting, Lane::Brief}) {
        for (uint32_t index = 0; index < File::kLength[static_cast<size_t>(lane)]; ++index) {
            Told told;
            if (take(bytes, lane, index, &told)) {
                all.push_back(told);
            }
        }
    }
    std::stable_sort(all.begin(), all.end(), [](const Told& left, const Told& right) {
        return left.timeUs() != right.timeUs() ? left.timeUs() < right.timeUs() : left.number < right.number;
    });
    return all;
}

bool readRecorder(const std::string& path, std::vector<Told>* told, std::string* why) {
    std::string bytes(File::kSize, '\0');
    const int opened = aboveStandard(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    const ssize_t size = opened >= 0 ? pread(opened, bytes.data(), bytes.size(), 0) : -1;
    const int error = errno;
    if (opened >= 0) {
        close(opened);
    }
    if (size != static_cast<ssize_t>(bytes.size()) || wordAt(bytes, 0) != File::kLayout) {
        *why = size < 0 ? path + ": " + strerror(error) : path + ": it is no recorder's file of this release";
        return false;
    }
    *told = entriesIn(bytes);
    return true;
}

}  // namespace vcfg::recorder
