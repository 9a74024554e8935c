#include "json_text.h"

#include <cstdint>
#include <cstdio>

namespace vcfg {
namespace {

// The length of the UTF-8 sequence that `text` begins with, 0 when it begins with none.
size_t sequenceLength(std::string_view text) {
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

void appendEscaped(std::string& to, char character) {
    char escaped[8];
    if (character == '"' || character == '\\') {
        to += '\\';
        to += character;
    } else if (static_cast<uint8_t>(character) < 0x20) {
        snprintf(escaped, sizeof escaped, "\\u%04x", static_cast<unsigned>(character));
        to += escaped;
    } else {
        to += character;
    }
}

}  // namespace

void appendJsonString(std::string& to, std::string_view text) {
    to += '"';
    while (!text.empty()) {
        const size_t length = sequenceLength(text);
        if (length == 1) {
            appendEscaped(to, text[0]);
        } else if (length == 0) {
            to += "\xEF\xBF\xBD";
        } else {
            to += text.substr(0, length);
        }
        text.remove_prefix(length == 0 ? 1 : length);
    }
    to += '"';
}

}  // namespace vcfg
