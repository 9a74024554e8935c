// "==Up", "~dsl", "<1500": what a value is held against.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "model/describe.h"

namespace vcfgctl {

enum class Relation { Equal, NotEqual, Contains, Less, LessOrEqual, Greater, GreaterOrEqual };

struct Comparison {
    const vcfg::model::Parameter* parameter;
    Relation relation;
    std::string wanted;  // as the model would show it

    bool holds(const std::string& value) const;
    // "Status==Up"
    std::string text() const;
};

// The relation that `text` begins with, cut off it.
std::optional<Relation> takeRelation(std::string_view* text);

// Null with the reason in `why`: the parameter cannot have such a value, or has no order.
std::optional<Comparison> compare(const vcfg::model::Parameter& parameter, Relation relation, std::string_view wanted,
                                  std::string* why);

}  // namespace vcfgctl
