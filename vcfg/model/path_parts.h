// What paths and object patterns are made of.
#pragma once

#include <string_view>

namespace vcfg::model {

inline constexpr std::string_view kAnyInstance = "{i}";

// Cuts the part up to the next dot off `text`.
inline std::string_view takePart(std::string_view* text) {
    const size_t dot = text->find('.');
    const std::string_view part = text->substr(0, dot);
    text->remove_prefix(dot == text->npos ? text->size() : dot + 1);
    return part;
}

inline bool isNumber(std::string_view part) {
    return !part.empty() && part.find_first_not_of("0123456789") == part.npos;
}

}  // namespace vcfg::model
