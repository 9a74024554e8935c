#include "select.h"

#include "model/names.h"
#include "parts.h"
#include "suggest.h"

namespace vcfgctl {

namespace model = vcfg::model;

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
    for (const model::Object* object : model::inTreeOrder()) {
        const Parts pattern = split(object->pattern);
        Selection selection{object, {}, nullptr};
        const size_t known = follow(pattern, parts, &selection.wanted);
        if (subtree && known == parts.size()) {
            found.push_back(selection);
        } else if (!subtree && known == pattern.size() && parts.size() == known + 1) {
            selection.parameter = find(*object, parts.back());
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

}  // namespace vcfgctl
