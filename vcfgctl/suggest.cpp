#include "suggest.h"

#include <algorithm>
#include <deque>

#include "level.h"
#include "nearest.h"

namespace vcfgctl {
namespace {

// The path with every part made right, as far as the nearest names do that.
std::string mended(Parts parts) {
    std::deque<std::string> held;  // what the parts look into
    for (;;) {
        const Level level = levelOf(parts);
        if (level.isWhole) {
            return join(parts, parts.size());
        }
        if (level.known == parts.size()) {
            return join(parts, parts.size()) + ".";
        }
        const Texts near = nearest(level.names, parts[level.known]);
        if (near.empty()) {
            return join(parts, level.known) + ".";
        }
        if (near.front() == parts[level.known]) {
            parts.resize(level.known + 1);  // nothing lies below a parameter
        } else {
            parts[level.known] = held.emplace_back(near.front());
        }
    }
}

// An instance number is wrong, or missing before a name that would be right behind it.
Parts withAnyInstance(Parts parts, size_t at) {
    const bool isNumber = parts[at].find_first_not_of("0123456789") == std::string_view::npos;
    if (isNumber) {
        parts[at] = "*";
    } else {
        parts.insert(parts.begin() + static_cast<ptrdiff_t>(at), "*");
    }
    return parts;
}

Texts candidates(const Parts& parts, const Level& level) {
    if (level.takesInstance) {
        return {mended(withAnyInstance(parts, level.known))};
    }
    Texts found;
    const Texts names = nearest(level.names, parts[level.known]);
    for (const std::string& name : names) {
        Parts right = parts;
        right[level.known] = name;
        add(found, mended(std::move(right)));
    }
    return found;
}

// Who writes no dot at the end means a parameter, if there is one to mean.
void preferParameters(Texts& found) {
    const auto isObject = [](const std::string& path) { return path.ends_with('.'); };
    if (!std::all_of(found.begin(), found.end(), isObject)) {
        std::erase_if(found, isObject);
    }
}

std::string question(const Texts& found) {
    std::string text = "; did you mean ";
    for (size_t i = 0; i < found.size(); ++i) {
        text.append(i == 0 ? "" : i + 1 == found.size() ? " or " : ", ").append(found[i]);
    }
    return text + "?";
}

}  // namespace

std::string suggestion(std::string_view path) {
    const Parts parts = split(path);
    const Level level = levelOf(parts);
    const bool isKnown = level.known == parts.size();
    if (isKnown && !parts.empty() && !path.ends_with('.')) {
        return "is no parameter; \"" + std::string(path) + ".\" is all that is below it";
    }
    const std::string known = join(parts, level.known);
    const std::string why = level.takesInstance ? known + ". takes an instance number, 1 to 255, or *"
                                                : std::string("there is no such path");
    Texts found = isKnown ? Texts{} : candidates(parts, level);
    if (!path.ends_with('.')) {
        preferParameters(found);
    }
    if (!found.empty()) {
        return why + question(found);
    }
    return why + "; 'vcfgctl list" + (known.empty() ? "" : " " + known) + "' shows what there is";
}

}  // namespace vcfgctl
