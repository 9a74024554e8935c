// UTF-8, the only encoding of texts in the model and in logs.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace vcfg {

// The length of the UTF-8 sequence that `text`, which is not empty, begins with; 0 when it begins with none.
inline size_t utf8Length(std::string_view text) {
    const auto byte = [text](size_t at) { return static_cast<uint8_t>(text[at]); };
    const size_t length = byte(0) < 0x80   ? 1
                          : byte(0) < 0xC2 ? 0
                          : byte(0) < 0xE0 ? 2
                          : byte(0) < 0xF0 ? 3
                          : byte(0) < 0xF5 ? 4
                                           : 0;
    if (length > text.size()) {
        return 0;
    }
    for (size_t each = 1; each < length; ++each) {
        if ((byte(each) & 0xC0) != 0x80) {
            return 0;
        }
    }
    const bool overlong = (byte(0) == 0xE0 && byte(1) < 0xA0) || (byte(0) == 0xF0 && byte(1) < 0x90);
    const bool outside = (byte(0) == 0xED && byte(1) >= 0xA0) || (byte(0) == 0xF4 && byte(1) >= 0x90);
    return overlong || outside ? 0 : length;
}

inline bool isUtf8(std::string_view text) {
    while (!text.empty()) {
        const size_t length = utf8Length(text);
        if (length == 0) {
            return false;
        }
        text.remove_prefix(length);
    }
    return true;
}

}  // namespace vcfg
