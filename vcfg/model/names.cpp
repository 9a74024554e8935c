#include "names.h"

#include <vector>

#include "path_parts.h"

namespace vcfg::model {
namespace {

constexpr std::string_view kRoot = "Device.";

bool takeInstance(std::string_view part, objIndex* iid) {
    const std::optional<uint8_t> number = instancePlace(part);
    if (number) {
        iid->idx[iid->level++] = *number;
    }
    return number.has_value();
}

// Follows the object's pattern as far as the path goes; `path` is what remains behind. A table may lack its last place.
bool follow(const Object& object, std::string_view* path, objIndex* iid) {
    std::string_view pattern = object.pattern;
    while (!pattern.empty()) {
        const std::string_view wanted = takePart(&pattern);
        if (path->empty()) {
            return pattern.empty() && wanted == kAnyInstance;
        }
        const std::string_view part = takePart(path);
        if (wanted == kAnyInstance ? !takeInstance(part, iid) : part != wanted) {
            return false;
        }
    }
    return true;
}

// Whether `path` is `above` or lies below it.
bool isWithin(std::string_view path, std::string_view above) {
    return path.starts_with(above) && (path.size() == above.size() || path[above.size()] == '.');
}

// How much of both paths is the same, in whole parts.
size_t sharedParts(std::string_view left, std::string_view right) {
    size_t shared = 0;
    while (!left.empty() && !right.empty() && takePart(&left) == takePart(&right)) {
        ++shared;
    }
    return shared;
}

// Before the first one that lies below it, else behind the last of those that it shares most with.
size_t placeOf(const Object& object, const std::vector<const Object*>& placed) {
    size_t place = placed.size();
    size_t most = 0;
    for (size_t i = 0; i < placed.size(); ++i) {
        if (isWithin(placed[i]->pattern, object.pattern)) {
            return i;
        }
        const size_t shared = sharedParts(placed[i]->pattern, object.pattern);
        if (shared > 0 && shared >= most) {
            most = shared;
            place = i + 1;
        }
    }
    return place;
}

std::vector<const Object*> placeAll() {
    std::vector<const Object*> placed;
    for (const Object& object : objects()) {
        placed.insert(placed.begin() + static_cast<ptrdiff_t>(placeOf(object, placed)), &object);
    }
    return placed;
}

}  // namespace

std::optional<uint8_t> instancePlace(std::string_view part) {
    if (part == "*" || part == kAnyInstance) {
        return uint8_t{0};
    }
    unsigned number = 0;
    for (const char c : part) {
        number = c >= '0' && c <= '9' && number <= 255 ? number * 10 + static_cast<unsigned>(c - '0') : 256;
    }
    return number == 0 || number > 255 || part.front() == '0' ? std::nullopt
                                                              : std::optional(static_cast<uint8_t>(number));
}

std::string_view withoutRoot(std::string_view path) {
    return path.starts_with(kRoot) ? path.substr(kRoot.size()) : path;
}

std::optional<Named> named(std::string_view path) {
    path = withoutRoot(path);
    const bool mustBeObject = path.ends_with('.');
    for (const Object& object : objects()) {
        Named found{&object, {}, nullptr};
        std::string_view rest = path;
        if (path.empty() || !follow(object, &rest, &found.iid)) {
            continue;
        }
        found.parameter = mustBeObject ? nullptr : find(object, rest);
        if (rest.empty() || found.parameter != nullptr) {
            return found;
        }
    }
    return std::nullopt;
}

std::span<const Object* const> inTreeOrder() {
    static const std::vector<const Object*> order = placeAll();
    return order;
}

}  // namespace vcfg::model
