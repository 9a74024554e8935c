#include "select.h"

#include <algorithm>
#include <optional>

namespace vcfgctl {
namespace {

namespace model = vcfg::model;

using Parts = std::vector<std::string_view>;

constexpr size_t kMostSuggestions = 12;

Parts split(std::string_view path) {
    Parts parts;
    while (!path.empty()) {
        const size_t dot = path.find('.');
        parts.push_back(path.substr(0, dot));
        path.remove_prefix(dot == path.npos ? path.size() : dot + 1);
    }
    return parts;
}

// 0 for "*"; nothing when it is no instance number.
std::optional<uint8_t> instance(std::string_view part) {
    if (part == "*") {
        return uint8_t{0};
    }
    unsigned number = 0;
    for (const char c : part) {
        number = c >= '0' && c <= '9' ? number * 10 + static_cast<unsigned>(c - '0') : 256;
        if (number > 255) {
            return std::nullopt;
        }
    }
    return number == 0 ? std::nullopt : std::optional(static_cast<uint8_t>(number));
}

// How many of `parts` follow the object's pattern; the instance numbers met on the way go to `selection`.
size_t follow(const Parts& pattern, const Parts& parts, Selection& selection) {
    size_t depth = 0;
    size_t at = 0;
    for (; at < pattern.size() && at < parts.size(); ++at) {
        if (pattern[at] == "{i}") {
            const std::optional<uint8_t> number = instance(parts[at]);
            if (!number) {
                break;
            }
            selection.wanted[depth++] = *number;
        } else if (pattern[at] != parts[at]) {
            break;
        }
    }
    return at;
}

// The parts of a path that exist in the model, and the names that may follow them.
struct Neighbours {
    size_t known = 0;
    std::vector<std::string> names;
};

void add(std::vector<std::string>& names, std::string name) {
    if (std::find(names.begin(), names.end(), name) == names.end()) {
        names.push_back(std::move(name));
    }
}

Neighbours neighbours(const Parts& parts) {
    Neighbours found;
    for (const model::Object& object : model::objects()) {
        const Parts pattern = split(object.pattern);
        Selection ignored{};
        const size_t known = follow(pattern, parts, ignored);
        if (known < found.known) {
            continue;
        }
        if (known > found.known) {
            found = {known, {}};
        }
        if (known < pattern.size()) {
            add(found.names, pattern[known] == "{i}" ? "an instance number or *" : std::string(pattern[known]) + ".");
        }
        for (const model::Parameter& parameter : object.parameters) {
            if (known == pattern.size()) {
                add(found.names, parameter.name);
            }
        }
    }
    return found;
}

bool alike(std::string_view name, std::string_view wanted) {
    const auto same = [](char left, char right) { return (left | 0x20) == (right | 0x20); };
    return !wanted.empty() && std::search(name.begin(), name.end(), wanted.begin(), wanted.end(), same) != name.end();
}

}  // namespace

bool Selection::fits(const objIndex& iid) const {
    for (size_t i = 0; i < iid.level; ++i) {
        if (wanted[i] != 0 && wanted[i] != iid.idx[i]) {
            return false;
        }
    }
    return true;
}

bool Selection::isOne(objIndex* iid) const {
    *iid = {};
    for (size_t i = 0; i < object->depth; ++i) {
        if (wanted[i] == 0) {
            return false;
        }
        iid->idx[iid->level++] = wanted[i];
    }
    return true;
}

std::vector<Selection> select(std::string_view path, std::string* why) {
    const bool subtree = path.ends_with('.');
    const Parts parts = split(path == "." ? "" : path);
    std::vector<Selection> found;
    for (const model::Object& object : model::objects()) {
        const Parts pattern = split(object.pattern);
        Selection selection{&object, {}, nullptr};
        const size_t known = follow(pattern, parts, selection);
        if (subtree && known == parts.size()) {
            found.push_back(selection);
        } else if (!subtree && known == pattern.size() && parts.size() == known + 1) {
            selection.parameter = find(object, parts.back());
            if (selection.parameter != nullptr) {
                found.push_back(selection);
            }
        }
    }
    if (found.empty()) {
        *why = suggestion(path);
    }
    return found;
}

std::string suggestion(std::string_view path) {
    const Parts parts = split(path);
    Neighbours near = neighbours(parts);
    if (near.known == parts.size() && !parts.empty() && !path.ends_with('.')) {
        return "is no parameter; \"" + std::string(path) + ".\" is all that is below it";
    }
    std::string known;
    for (size_t i = 0; i < near.known; ++i) {
        known.append(parts[i]).append(".");
    }
    std::vector<std::string> best;
    for (const std::string& name : near.names) {
        if (near.known < parts.size() && alike(name, parts[near.known])) {
            best.push_back(name);
        }
    }
    if (!best.empty()) {
        near.names.swap(best);
    }
    std::string text = "there is no such path; " + (known.empty() ? "the model" : known) + " has ";
    for (size_t i = 0; i < near.names.size() && i < kMostSuggestions; ++i) {
        text.append(i > 0 ? ", " : "").append(near.names[i]);
    }
    return text + (near.names.size() > kMostSuggestions ? ", ..." : "");
}

}  // namespace vcfgctl
