#include "complaint.h"

#include <algorithm>
#include <iterator>

namespace vcfg::vcmd {
namespace {

// Leaves room for the rest of the sentence in the answer to who waits.
constexpr size_t kLongest = 800;

}  // namespace

void Complaint::take(std::string_view piece) {
    while (!piece.empty()) {
        const size_t end = std::min(piece.find_first_of("\r\n"), piece.size());
        add(piece.substr(0, end));
        if (end < piece.size()) {
            endLine();
        }
        piece.remove_prefix(std::min(end + 1, piece.size()));
    }
}

void Complaint::add(std::string_view part) {
    part = part.substr(0, kLongest - open_.size());
    std::transform(part.begin(), part.end(), std::back_inserter(open_),
                   [](char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7f ? ' ' : c; });
}

void Complaint::endLine() {
    if (open_.find_first_not_of(' ') != open_.npos) {
        last_.swap(open_);
    }
    open_.clear();
}

}  // namespace vcfg::vcmd
