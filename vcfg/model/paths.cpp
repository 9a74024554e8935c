// Paths of the data model: "IP.Interface.3.IPv4Address.1.IPAddress".
#include <charconv>

#include "describe.h"
#include "path_parts.h"

namespace vcfg::model {
namespace {

// 1..255 without leading zeros; 0 for anything else.
uint8_t instanceNumber(std::string_view part) {
    unsigned number = 0;
    if (!isNumber(part) || part.front() == '0' || part.size() > 3) {
        return 0;
    }
    std::from_chars(part.data(), part.data() + part.size(), number);
    return number <= 255 ? static_cast<uint8_t>(number) : uint8_t{0};
}

// Follows `pattern` along `path`; on success `path` is what remains behind it.
bool follow(std::string_view pattern, std::string_view* path, objIndex* iid) {
    while (!pattern.empty()) {
        const std::string_view wanted = takePart(&pattern);
        const std::string_view part = takePart(path);
        if (wanted != kAnyInstance) {
            if (part != wanted) {
                return false;
            }
            continue;
        }
        const uint8_t number = instanceNumber(part);
        if (number == 0) {
            return false;
        }
        iid->idx[iid->level++] = number;
    }
    return true;
}

// Whether the pattern's first part is that one. Spares most of the objects a closer look.
bool beginsWith(std::string_view pattern, std::string_view first) {
    return pattern.starts_with(first) && (pattern.size() == first.size() || pattern[first.size()] == '.');
}

}  // namespace

bool isBelow(const Object& object, const Object& above) {
    const std::string_view pattern = object.pattern;
    const std::string_view start = above.pattern;
    return pattern.size() > start.size() && pattern.starts_with(start) && pattern[start.size()] == '.';
}

std::string path(const Object& object, const objIndex& iid) {
    std::string result;
    std::string_view pattern = object.pattern;
    uint8_t used = 0;
    for (size_t at = pattern.find(kAnyInstance); at != pattern.npos && used < iid.level;
         at = pattern.find(kAnyInstance)) {
        result.append(pattern.substr(0, at));
        result.append(std::to_string(iid.idx[used++]));
        pattern.remove_prefix(at + kAnyInstance.size());
    }
    return result.append(pattern);
}

std::optional<Resolved> resolve(std::string_view path) {
    const std::string_view first = path.substr(0, path.find('.'));
    std::optional<Resolved> withUnknownName;
    for (const Object& object : objects()) {
        if (!beginsWith(object.pattern, first)) {
            continue;
        }
        Resolved found{&object, {}, path, nullptr};
        if (path.ends_with('.') || !follow(object.pattern, &found.rest, &found.iid) ||
            found.rest.find('.') != path.npos) {
            continue;
        }
        found.parameter = find(object, found.rest);
        if (found.rest.empty() || found.parameter != nullptr) {
            return found;
        }
        withUnknownName = found;
    }
    return withUnknownName && !resolveTable(path) ? withUnknownName : std::nullopt;
}

std::optional<ResolvedTable> resolveTable(std::string_view path) {
    if (path.ends_with('.')) {
        path.remove_suffix(1);
    }
    const std::string_view first = path.substr(0, path.find('.'));
    for (const Object& object : objects()) {
        if (!object.isTable || !beginsWith(object.pattern, first)) {
            continue;
        }
        std::string_view table = object.pattern;
        table.remove_suffix(kAnyInstance.size() + 1);
        std::string_view rest = path;
        ResolvedTable found{&object, {}};
        if (follow(table, &rest, &found.parent) && rest.empty()) {
            return found;
        }
    }
    return std::nullopt;
}

bool pathMatches(std::string_view pattern, std::string_view path) {
    while (!pattern.empty()) {
        const bool open = pattern.find('.') != pattern.npos;
        const std::string_view wanted = takePart(&pattern);
        const std::string_view part = takePart(&path);
        if (part != wanted && !(wanted == "*" && isNumber(part))) {
            return false;
        }
        if (pattern.empty()) {
            return open || path.empty();
        }
    }
    return true;
}

}  // namespace vcfg::model
