#include "comparison.h"

#include <cstdlib>
#include <vector>

#include "value.h"

namespace vcfgctl {
namespace {

namespace model = vcfg::model;

struct Sign {
    Relation relation;
    std::string_view text;
};

// Those that begin with another one stand before it.
constexpr Sign kSigns[] = {{Relation::Equal, "=="},       {Relation::NotEqual, "!="},       {Relation::Contains, "~"},
                           {Relation::LessOrEqual, "<="}, {Relation::GreaterOrEqual, ">="}, {Relation::Less, "<"},
                           {Relation::Greater, ">"}};

bool isNumber(const model::Parameter& parameter) {
    return !parameter.isText() && parameter.kind != model::Kind::Bool;
}

// Below 0, 0 or above 0, as `left` is smaller, the same or larger.
int order(model::Kind kind, const std::string& left, const std::string& right) {
    if (kind == model::Kind::Ulong) {
        const unsigned long long a = strtoull(left.c_str(), nullptr, 10);
        const unsigned long long b = strtoull(right.c_str(), nullptr, 10);
        return a < b ? -1 : a > b ? 1 : 0;
    }
    const long long a = strtoll(left.c_str(), nullptr, 10);
    const long long b = strtoll(right.c_str(), nullptr, 10);
    return a < b ? -1 : a > b ? 1 : 0;
}

}  // namespace

std::optional<Relation> takeRelation(std::string_view* text) {
    for (const Sign& sign : kSigns) {
        if (text->starts_with(sign.text)) {
            text->remove_prefix(sign.text.size());
            return sign.relation;
        }
    }
    return std::nullopt;
}

std::optional<Comparison> compare(const model::Parameter& parameter, Relation relation, std::string_view wanted,
                                  std::string* why) {
    if (relation == Relation::Contains) {
        return Comparison{&parameter, relation, std::string(wanted)};
    }
    if (relation != Relation::Equal && relation != Relation::NotEqual && !isNumber(parameter)) {
        *why = std::string(parameter.name) + " is no number; it takes ==, != and ~";
        return std::nullopt;
    }
    const std::optional<std::string> shown = asShown(parameter, wanted, why);
    return shown ? std::optional(Comparison{&parameter, relation, *shown}) : std::nullopt;
}

bool Comparison::holds(const std::string& value) const {
    switch (relation) {
        case Relation::Equal:
            return value == wanted;
        case Relation::NotEqual:
            return value != wanted;
        case Relation::Contains:
            return value.find(wanted) != value.npos;
        case Relation::Less:
            return order(parameter->kind, value, wanted) < 0;
        case Relation::LessOrEqual:
            return order(parameter->kind, value, wanted) <= 0;
        case Relation::Greater:
            return order(parameter->kind, value, wanted) > 0;
        case Relation::GreaterOrEqual:
            return order(parameter->kind, value, wanted) >= 0;
    }
    return false;
}

std::string Comparison::text() const {
    std::string_view sign;
    for (const Sign& one : kSigns) {
        sign = one.relation == relation ? one.text : sign;
    }
    return std::string(parameter->name).append(sign).append(wanted);
}

}  // namespace vcfgctl
