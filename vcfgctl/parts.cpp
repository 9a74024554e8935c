#include "parts.h"

#include <optional>

#include "model/names.h"

namespace vcfgctl {
namespace {

// The place of the first of `ends` that stands in no brackets, and in no quotes within them.
size_t findOutside(std::string_view text, std::string_view ends) {
    bool inBrackets = false;
    bool inQuotes = false;
    for (size_t i = 0; i < text.size(); ++i) {
        if (!inBrackets && ends.find(text[i]) != ends.npos) {
            return i;
        }
        inQuotes = inBrackets && (text[i] == '"') != inQuotes;
        inBrackets = inQuotes || (inBrackets ? text[i] != ']' : text[i] == '[');
    }
    return text.npos;
}

}  // namespace

Parts split(std::string_view path) {
    Parts parts;
    while (!path.empty()) {
        const size_t dot = findOutside(path, ".");
        parts.push_back(path.substr(0, dot));
        path.remove_prefix(dot == path.npos ? path.size() : dot + 1);
    }
    return parts;
}

std::string join(const Parts& parts, size_t count) {
    std::string text;
    for (size_t i = 0; i < count; ++i) {
        text.append(i > 0 ? "." : "").append(parts[i]);
    }
    return text;
}

bool isFilter(std::string_view part) {
    return part.starts_with('[') && part.ends_with(']');
}

size_t pathLength(std::string_view text) {
    const size_t end = findOutside(text, "=!~<>");
    return end == text.npos ? text.size() : end;
}

size_t follow(const Parts& pattern, const Parts& parts, Places* places) {
    size_t depth = 0;
    size_t at = 0;
    for (; at < pattern.size() && at < parts.size(); ++at) {
        if (pattern[at] == "{i}") {
            const std::optional<uint8_t> number =
                isFilter(parts[at]) ? uint8_t{0} : vcfg::model::instancePlace(parts[at]);
            if (!number) {
                break;
            }
            (*places)[depth++] = *number;
        } else if (pattern[at] != parts[at]) {
            break;
        }
    }
    return at;
}

}  // namespace vcfgctl
