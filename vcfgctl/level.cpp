#include "level.h"

#include <algorithm>

#include "model/describe.h"

namespace vcfgctl {
namespace {

namespace model = vcfg::model;

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

}  // namespace

void add(Texts& names, std::string_view name) {
    if (std::find(names.begin(), names.end(), name) == names.end()) {
        names.emplace_back(name);
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

}  // namespace vcfgctl
