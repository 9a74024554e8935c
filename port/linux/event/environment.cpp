#include "environment.h"

#include <cstdlib>

std::vector<std::string> words(std::string_view text) {
    constexpr std::string_view kBlanks = " \t\r\n";
    std::vector<std::string> parts;
    while (true) {
        const size_t begin = text.find_first_not_of(kBlanks);
        if (begin == std::string_view::npos) {
            return parts;
        }
        text.remove_prefix(begin);
        parts.emplace_back(text.substr(0, text.find_first_of(kBlanks)));
        text.remove_prefix(parts.back().size());
    }
}

std::string variable(const char* name) {
    const char* const value = getenv(name);
    return value == nullptr ? std::string() : value;
}
