// What a path on the command line stands for.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "model/describe.h"
#include "parts.h"

namespace vcfgctl {

// The instances of one object that fit, and one of their parameters or all.
struct Selection {
    const vcfg::model::Object* object;
    Places wanted;                            // instance number by depth, 0 for any
    const vcfg::model::Parameter* parameter;  // null for all

    bool fits(const objIndex& iid) const;
    // The only instance that can fit, if the path says so.
    bool isOne(objIndex* iid) const;
};

// "IP.Interface.1.Status", "IP.Interface.*.Status", "IP.Interface.1." for the subtree, "." for the whole model; in tree
// order. Empty with the reason, and what exists instead, in `why`.
std::vector<Selection> select(std::string_view path, std::string* why);

}  // namespace vcfgctl
