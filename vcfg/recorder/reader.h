// What a recorder's file holds, for who looks at it. The file is not mapped: others may cut it short at any moment.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "entry.h"

namespace vcfg::recorder {

struct Told {
    Entry entry;
    Lane lane;
    uint32_t number;

    int64_t timeUs() const { return static_cast<int64_t>(uint64_t{entry.timeHigh} << 32 | entry.timeLow); }
    // The text's field, of those that NULs part; the last one is all that is left.
    std::string_view field(size_t each) const;
    bool isBegin() const { return entry.kind == Kind::Event || entry.kind == Kind::Received; }
};

std::string recorderPath();

// All whole entries, in the order of their times. False when there is no file that can be read, with the reason.
bool readRecorder(const std::string& path, std::vector<Told>* told, std::string* why);
// Those in bytes that are, or should be, such a file's.
std::vector<Told> entriesIn(std::string_view bytes);

}  // namespace vcfg::recorder
