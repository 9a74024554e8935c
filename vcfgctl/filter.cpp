#include "filter.h"

#include "nearest.h"
#include "parts.h"
#include "print.h"

namespace vcfgctl {
namespace {

namespace model = vcfg::model;

constexpr std::string_view kAnd = "&&";

// Up to the next "&&" that is not in quotes, which is cut off.
std::string_view takeTerm(std::string_view* text) {
    bool inQuotes = false;
    size_t end = 0;
    while (end < text->size() && (inQuotes || !text->substr(end).starts_with(kAnd))) {
        inQuotes = ((*text)[end++] == '"') != inQuotes;
    }
    const std::string_view term = text->substr(0, end);
    text->remove_prefix(end == text->size() ? end : end + kAnd.size());
    return term;
}

std::string_view withoutSpaces(std::string_view text) {
    while (text.starts_with(' ')) {
        text.remove_prefix(1);
    }
    while (text.ends_with(' ')) {
        text.remove_suffix(1);
    }
    return text;
}

std::string_view withoutQuotes(std::string_view text) {
    return text.size() >= 2 && text.starts_with('"') && text.ends_with('"') ? text.substr(1, text.size() - 2) : text;
}

std::string noSuchParameter(const model::Object& table, std::string_view name) {
    std::vector<std::string> names;
    for (const model::Parameter& parameter : table.parameters) {
        names.emplace_back(parameter.name);
    }
    const std::vector<std::string> near = nearest(names, name);
    return std::string(table.pattern) + " has no parameter \"" + oneLine(name) + "\"" +
           (near.empty() ? "" : "; did you mean " + near.front() + "?");
}

std::optional<Comparison> parseTerm(const model::Object& table, std::string_view term, std::string* why) {
    std::string_view behind = term.substr(pathLength(term));
    const std::string_view name = withoutSpaces(term.substr(0, term.size() - behind.size()));
    const model::Parameter* const parameter = find(table, name);
    if (parameter == nullptr) {
        *why = noSuchParameter(table, name);
        return std::nullopt;
    }
    const std::optional<Relation> relation = takeRelation(&behind);
    if (!relation) {
        *why = "\"" + oneLine(term) + "\" compares nothing; it takes ==, !=, ~, <, <=, > or >=";
        return std::nullopt;
    }
    return compare(*parameter, *relation, withoutQuotes(withoutSpaces(behind)), why);
}

bool parseAlias(std::string_view alias, Filter& filter, std::string* why) {
    const model::Parameter* const parameter = find(*filter.table, "Alias");
    if (parameter == nullptr) {
        *why = std::string(filter.table->pattern) + " has no Alias; a filter is PARAMETER==VALUE";
        return false;
    }
    const std::optional<Comparison> comparison = compare(*parameter, Relation::Equal, withoutQuotes(alias), why);
    if (comparison) {
        filter.all.push_back(*comparison);
    }
    return comparison.has_value();
}

}  // namespace

std::optional<Filter> parseFilter(const model::Object& table, std::string_view text, std::string* why) {
    std::string_view terms = withoutSpaces(text.substr(1, text.size() - 2));
    Filter filter{&table, {}, pathLength(terms) == terms.size(), std::string(text)};
    if (terms.empty()) {
        *why = "[] is empty; it takes an alias, or PARAMETER==VALUE";
        return std::nullopt;
    }
    if (filter.isAlias) {
        return parseAlias(terms, filter, why) ? std::optional(filter) : std::nullopt;
    }
    while (!terms.empty()) {
        const std::optional<Comparison> comparison = parseTerm(table, withoutSpaces(takeTerm(&terms)), why);
        if (!comparison) {
            return std::nullopt;
        }
        filter.all.push_back(*comparison);
    }
    return filter;
}

bool passes(const Filter& filter, const objIndex& iid, const Lookup& lookup) {
    objIndex own = iid;
    own.level = filter.table->depth;
    for (uint8_t i = own.level; i < sizeof own.idx; ++i) {
        own.idx[i] = 0;
    }
    for (const Comparison& comparison : filter.all) {
        const std::optional<std::string> value = lookup(*filter.table, own, *comparison.parameter);
        if (!value || !comparison.holds(*value)) {
            return false;
        }
    }
    return true;
}

}  // namespace vcfgctl
