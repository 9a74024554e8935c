#include "parts.h"

#include <optional>

#include "model/names.h"

namespace vcfgctl {

Parts split(std::string_view path) {
    Parts parts;
    while (!path.empty()) {
        const size_t dot = path.find('.');
        parts.push_back(path.substr(0, dot));
        path.remove_prefix(dot == path.npos ? path.size() : dot + 1);
    }
    return parts;
}

size_t follow(const Parts& pattern, const Parts& parts, Places* places) {
    size_t depth = 0;
    size_t at = 0;
    for (; at < pattern.size() && at < parts.size(); ++at) {
        if (pattern[at] == "{i}") {
            const std::optional<uint8_t> number = vcfg::model::instancePlace(parts[at]);
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
