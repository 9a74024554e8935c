// "[Status==Up&&MTU<1500]" or "[wan]" in the place of an instance number.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "comparison.h"

namespace vcfgctl {

struct Filter {
    const vcfg::model::Object* table;  // whose instances it is about
    std::vector<Comparison> all;
    bool isAlias;
    std::string text;
};

// The value that an instance has now; nothing when it is not there.
using Lookup = std::function<std::optional<std::string>(const vcfg::model::Object& object, const objIndex& iid,
                                                        const vcfg::model::Parameter& parameter)>;

// `text` with its brackets. Null with the reason in `why`.
std::optional<Filter> parseFilter(const vcfg::model::Object& table, std::string_view text, std::string* why);

// `iid` is the table's instance or one below it.
bool passes(const Filter& filter, const objIndex& iid, const Lookup& lookup);

}  // namespace vcfgctl
