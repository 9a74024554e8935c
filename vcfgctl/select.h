// What a path on the command line stands for.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "filter.h"
#include "parts.h"

namespace vcfgctl {

// The instances of one object that fit, and one of their parameters or all.
struct Selection {
    const vcfg::model::Object* object;
    Places wanted;                            // instance number by depth, 0 for any
    const vcfg::model::Parameter* parameter;  // null for all
    std::vector<Filter> filters = {};

    // The instance's numbers are those wanted, and it passes all filters.
    bool fits(const objIndex& iid, const Lookup& lookup) const;
    // The only instance that can fit, if the path says so.
    bool isOne(objIndex* iid) const;
    // An alias names an instance, as a number does; a filter or a '*' may stand for none.
    const Filter* alias() const;
};

// "IP.Interface.1.Status", "IP.Interface.*.Status", "IP.Interface.[wan].Status", "IP.Interface.1." for the subtree, "."
// for the whole model; in tree order. Empty with the reason, and what exists instead, in `why`.
std::vector<Selection> select(std::string_view path, std::string* why);

// The instances that a path without a parameter stands for ("IP.Interface.1", "IP.Interface.*"); the same.
std::vector<Selection> selectInstances(std::string_view path, std::string* why);

// The path with any instance where it has a filter.
std::string withoutFilters(std::string_view path);

}  // namespace vcfgctl
