#include "nearest.h"

#include <algorithm>
#include <numeric>
#include <utility>

namespace vcfgctl {
namespace {

constexpr size_t kMost = 3;
// A part of a name says little when it is shorter.
constexpr size_t kShortestPart = 3;

char lower(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c;
}

bool same(char left, char right) {
    return lower(left) == lower(right);
}

bool contains(std::string_view name, std::string_view part) {
    return part.size() >= kShortestPart &&
           std::search(name.begin(), name.end(), part.begin(), part.end(), same) != name.end();
}

// One character in three may be wrong, and one always.
bool isNear(size_t distance, std::string_view name, std::string_view wanted) {
    return distance <= std::max<size_t>(1, std::max(name.size(), wanted.size()) / 3) || contains(name, wanted);
}

}  // namespace

size_t editDistance(std::string_view left, std::string_view right) {
    std::vector<size_t> row(right.size() + 1);
    std::iota(row.begin(), row.end(), size_t{0});
    for (size_t i = 0; i < left.size(); ++i) {
        size_t diagonal = std::exchange(row[0], i + 1);
        for (size_t j = 0; j < right.size(); ++j) {
            const size_t changed = diagonal + (same(left[i], right[j]) ? 0 : 1);
            diagonal = row[j + 1];
            row[j + 1] = std::min({changed, row[j] + 1, diagonal + 1});
        }
    }
    return row.back();
}

std::vector<std::string> nearest(const std::vector<std::string>& names, std::string_view wanted) {
    std::vector<std::pair<size_t, std::string>> near;
    for (const std::string& name : names) {
        const size_t distance = editDistance(name, wanted);
        if (isNear(distance, name, wanted)) {
            near.emplace_back(distance, name);
        }
    }
    std::stable_sort(near.begin(), near.end(), [](const auto& a, const auto& b) { return a.first < b.first; });
    std::vector<std::string> best;
    // What is clearly farther than the nearest was not meant; nothing is as near as the name itself.
    const size_t farthest = near.empty() || near[0].first == 0 ? 0 : near[0].first + 1;
    for (size_t i = 0; i < near.size() && i < kMost && near[i].first <= farthest; ++i) {
        best.push_back(near[i].second);
    }
    return best;
}

}  // namespace vcfgctl
