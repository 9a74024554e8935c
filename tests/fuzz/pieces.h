// An input that is several things, one behind the other.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string_view>

// Up to so many, in their order; an empty one, too, but none behind the last separator.
template <class Take>
void forEachPiece(std::string_view bytes, int most, const Take& take) {
    constexpr char kNext = '\x1e';
    for (int count = 0; count < most && !bytes.empty(); ++count) {
        const size_t end = bytes.find(kNext);
        take(bytes.substr(0, end));
        bytes.remove_prefix(end == std::string_view::npos ? bytes.size() : end + 1);
    }
}

// Cuts a number of that many bytes off, of those that there are.
inline uint32_t takeNumber(std::string_view& bytes, size_t size) {
    uint32_t number = 0;
    size = std::min(size, bytes.size());
    memcpy(&number, bytes.data(), size);
    bytes.remove_prefix(size);
    return number;
}
