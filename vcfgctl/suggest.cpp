#include "suggest.h"

#include <algorithm>
#include <deque>
#include <vector>

#include "model/describe.h"
#include "nearest.h"
#include "parts.h"

namespace vcfgctl {
namespace {

namespace model = vcfg::model;

using Texts = std::vector<std::string>;

// How much of a path the model has, and what may follow there.
struct Level {
    size_t known = 0;
    bool takesInstance = false;  // an instance number may follow
    bool isWhole = false;        // what is known is a parameter
    Texts names;
};

void add(Texts& names, std::string_view name) {
    if (std::find(names.begin(), names.end(), name) == names.end()) {
        names.emplace_back(name);
    }
}

// What the object adds to the level that its pattern reaches along the path.
void addNames(const model::Object& object, const Parts& pattern, Level& level) {
    if (level.known < pattern.size() && pattern[level.known] == "{i}") {
        level.takesInstance = true;
    } else if (level.known < pattern.size()) {
        add(level.names, pattern[level.known]);
    } else {
        for (const model::Parameter& parameter : object.parameters) {
            add(level.names, parameter.name);
        }
    }
}

Level levelOf(const Parts& parts) {
    Level level;
    for (const model::Object& object : model::objects()) {
        const Parts pattern = split(object.pattern);
        Places ignored{};
        const size_t known = follow(pattern, parts, &ignored);
        level.isWhole = level.isWhole ||
                        (known == pattern.size() && parts.size() == known + 1 && find(object, parts.back()) != nullptr);
        if (known > level.known) {
            level = {known, false, level.isWhole, {}};
        }
        if (known == level.known) {
            addNames(object, pattern, level);
        }
    }
    return level;
}

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
    const Texts found = isKnown ? Texts{} : candidates(parts, level);
    if (!found.empty()) {
        return why + question(found);
    }
    return why + "; 'vcfgctl list" + (known.empty() ? "" : " " + known) + "' shows what there is";
}

}  // namespace vcfgctl
