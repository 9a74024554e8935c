#include "address.h"

#include <algorithm>

namespace mail {
namespace {

bool isAlphanumeric(char character) {
    return (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z') ||
           (character >= '0' && character <= '9');
}

bool consistsOf(std::string_view text, std::string_view others) {
    return std::all_of(text.begin(), text.end(), [=](char character) {
        return isAlphanumeric(character) || others.find(character) != std::string_view::npos;
    });
}

std::string_view trimmed(std::string_view text) {
    const size_t begin = text.find_first_not_of(" \t");
    if (begin == std::string_view::npos) {
        return {};
    }
    return text.substr(begin, text.find_last_not_of(" \t") - begin + 1);
}

bool isControl(char character) {
    const auto byte = static_cast<unsigned char>(character);
    return byte < 0x20 || byte == 0x7F;
}

bool isContinuation(char character) {
    return (static_cast<unsigned char>(character) & 0xC0) == 0x80;
}

// Longer forms than needed, surrogates and what lies beyond Unicode.
bool isForbidden(std::string_view character) {
    const auto first = static_cast<unsigned char>(character[0]);
    const auto second = character.size() > 1 ? static_cast<unsigned char>(character[1]) : 0U;
    return first == 0xC0 || first == 0xC1 || (first == 0xE0 && second < 0xA0) || (first == 0xED && second >= 0xA0) ||
           (first == 0xF0 && second < 0x90) || (first == 0xF4 && second >= 0x90) || first > 0xF4;
}

}  // namespace

bool isHost(std::string_view text) {
    if (text.empty() || text.size() > 253 || text.front() == '-') {
        return false;
    }
    return consistsOf(text, ".-_") || (consistsOf(text, ":.") && text.find(':') != std::string_view::npos);
}

bool isAddress(std::string_view text) {
    const size_t at = text.rfind('@');
    if (at == std::string_view::npos || at == 0 || at > 64) {
        return false;
    }
    const std::string_view domain = text.substr(at + 1);
    return consistsOf(text.substr(0, at), "!#$%&'*+-/=?^_`{|}~.") && isHost(domain) &&
           domain.find(':') == std::string_view::npos;
}

std::vector<std::string> listOf(std::string_view text) {
    std::vector<std::string> addresses;
    for (;;) {
        const size_t comma = text.find(',');
        const std::string_view address = trimmed(text.substr(0, comma));
        if (!address.empty()) {
            addresses.emplace_back(address);
        }
        if (comma == std::string_view::npos) {
            return addresses;
        }
        text.remove_prefix(comma + 1);
    }
}

size_t characterSize(char first) {
    const auto byte = static_cast<unsigned char>(first);
    if (byte < 0x80) {
        return 1;
    }
    if (byte < 0xC0) {
        return 0;
    }
    return byte < 0xE0 ? 2 : byte < 0xF0 ? 3 : byte < 0xF8 ? 4 : 0;
}

bool isText(std::string_view text, bool lines) {
    while (!text.empty()) {
        const size_t size = characterSize(text[0]);
        if (size == 0 || size > text.size()) {
            return false;
        }
        const std::string_view character = text.substr(0, size);
        if (!std::all_of(character.begin() + 1, character.end(), isContinuation) || isForbidden(character)) {
            return false;
        }
        const bool allowed = lines && (text[0] == '\n' || text[0] == '\r' || text[0] == '\t');
        if (isControl(text[0]) && !allowed) {
            return false;
        }
        text.remove_prefix(size);
    }
    return true;
}

}  // namespace mail
