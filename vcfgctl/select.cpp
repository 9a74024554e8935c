#include "select.h"

#include <algorithm>

#include "model/names.h"
#include "suggest.h"

namespace vcfgctl {
namespace {

namespace model = vcfg::model;

const model::Object* objectOf(std::string_view pattern) {
    for (const model::Object& object : model::objects()) {
        if (object.pattern == pattern) {
            return &object;
        }
    }
    return nullptr;
}

// False with the reason in `why`.
bool addFilters(const Parts& pattern, const Parts& parts, Selection& selection, std::string* why) {
    for (size_t i = 0; i < parts.size() && i < pattern.size(); ++i) {
        if (!isFilter(parts[i])) {
            continue;
        }
        const std::optional<Filter> filter = parseFilter(*objectOf(join(pattern, i + 1)), parts[i], why);
        if (!filter) {
            return false;
        }
        selection.filters.push_back(*filter);
    }
    return true;
}

enum class Wanted { Parameter, Subtree, Instance };

// Whether the path stands for this object or a parameter of it, which is added to the selection.
bool isMeant(const Parts& pattern, const Parts& parts, Wanted wanted, Selection& selection) {
    const size_t known = follow(pattern, parts, &selection.wanted);
    if (wanted == Wanted::Subtree) {
        return known == parts.size();
    }
    if (known != pattern.size() || parts.size() != known + (wanted == Wanted::Parameter ? 1 : 0)) {
        return false;
    }
    selection.parameter = wanted == Wanted::Parameter ? find(*selection.object, parts.back()) : nullptr;
    return wanted == Wanted::Instance || selection.parameter != nullptr;
}

std::vector<Selection> select(std::string_view path, Wanted wanted, std::string* why) {
    const Parts parts = split(path == "." ? "" : path);
    std::vector<Selection> found;
    for (const model::Object* object : model::inTreeOrder()) {
        const Parts pattern = split(object->pattern);
        Selection selection{object, {}, nullptr};
        if (!isMeant(pattern, parts, wanted, selection)) {
            continue;
        }
        if (!addFilters(pattern, parts, selection, why)) {
            return {};
        }
        found.push_back(selection);
    }
    if (found.empty()) {
        *why = suggestion(path);
    }
    return found;
}

}  // namespace

bool Selection::fits(const objIndex& iid, const Lookup& lookup) const {
    for (size_t i = 0; i < iid.level; ++i) {
        if (wanted[i] != 0 && wanted[i] != iid.idx[i]) {
            return false;
        }
    }
    return std::all_of(filters.begin(), filters.end(), [&](const Filter& one) { return passes(one, iid, lookup); });
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

const Filter* Selection::alias() const {
    const auto found = std::find_if(filters.begin(), filters.end(), [](const Filter& one) { return one.isAlias; });
    return found != filters.end() ? &*found : nullptr;
}

std::vector<Selection> select(std::string_view path, std::string* why) {
    return select(path, path.ends_with('.') ? Wanted::Subtree : Wanted::Parameter, why);
}

std::vector<Selection> selectInstances(std::string_view path, std::string* why) {
    return select(path, Wanted::Instance, why);
}

std::string withoutFilters(std::string_view path) {
    Parts parts = split(path);
    for (std::string_view& part : parts) {
        part = isFilter(part) ? std::string_view("*") : part;
    }
    return join(parts, parts.size()) + (path.ends_with('.') ? "." : "");
}

}  // namespace vcfgctl
