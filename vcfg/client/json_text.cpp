#include "json_text.h"

#include <cstdint>
#include <cstdio>

#include "model/utf8.h"

namespace vcfg {
namespace {

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
        const size_t length = utf8Length(text);
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
