#include <algorithm>

#include "ask.h"
#include "mirror.h"
#include "print.h"
#include "secret.h"

namespace vcfgctl {
namespace {

struct Condition {
    std::string path;
    Selection selection;  // with a parameter
    Comparison comparison;
};

// An exit status, reported when not kDone.
int parse(const Call& call, const std::string& text, std::vector<Condition>* conditions) {
    const std::string path = text.substr(0, pathLength(text));
    std::string_view behind = std::string_view(text).substr(path.size());
    std::optional<Relation> relation = takeRelation(&behind);
    if (!relation && behind.starts_with('=')) {
        behind.remove_prefix(1);
        relation = Relation::Equal;
    }
    if (!relation) {
        return wrongUsage(call, "\"" + oneLine(text) + "\" is no condition; PATH==VALUE is, or !=, ~, <, <=, > or >=");
    }
    std::string why;
    const std::vector<Selection> found = select(path, &why);
    if (found.empty() || found.front().parameter == nullptr) {
        return refuse(path + ": " + (found.empty() ? why : "is no parameter"));
    }
    const std::optional<Comparison> comparison = compare(*found.front().parameter, *relation, behind, &why);
    if (!comparison) {
        return refuse(path + ": " + why);
    }
    conditions->push_back({path, found.front(), *comparison});
    return kDone;
}

bool holds(const Condition& condition, const Mirror& mirror) {
    bool found = false;
    mirror.forEach(condition.selection, [&](const std::string&, const std::string& value) {
        found = found || condition.comparison.holds(value);
    });
    return found;
}

bool allHold(const std::vector<Condition>& conditions, const Mirror& mirror) {
    return std::all_of(conditions.begin(), conditions.end(), [&](const Condition& one) { return holds(one, mirror); });
}

void print(const std::vector<Condition>& conditions, const Mirror& mirror, const Call& call) {
    for (const Condition& condition : conditions) {
        const vcfg::model::Parameter& parameter = *condition.selection.parameter;
        mirror.forEach(condition.selection, [&](const std::string& path, const std::string& value) {
            if (condition.comparison.holds(value)) {
                printValue(path, parameter, shown(call, parameter, value), call.json);
            }
        });
    }
}

// What there is instead.
std::string missing(const std::vector<Condition>& conditions, const Mirror& mirror, const Call& call) {
    std::string text;
    for (const Condition& condition : conditions) {
        if (holds(condition, mirror)) {
            continue;
        }
        const size_t before = text.size();
        mirror.forEach(condition.selection, [&](const std::string& path, const std::string& value) {
            text.append(text.empty() ? "" : ", ")
                .append(path)
                .append("=")
                .append(oneLine(shown(call, *condition.selection.parameter, value)));
        });
        if (text.size() == before) {
            text.append(text.empty() ? "" : ", ").append("there is no ").append(condition.path);
        }
    }
    return text;
}

int follow(const Call& call, const std::vector<Condition>& conditions, uint32_t timeoutMs, Changes& changes) {
    const vcfg::Deadline deadline = vcfg::Deadline::ofCall(timeoutMs);
    Mirror mirror;
    std::vector<Selection> selections;
    for (const Condition& condition : conditions) {
        selections.push_back(condition.selection);
    }
    const int status = mirror.read(selections);
    if (status != kDone) {
        return status;
    }
    while (!allHold(conditions, mirror)) {
        Change change;
        const int code = changes.next(deadline, &change);
        if (code == VCFG_ERR_TIMEOUT) {
            return refuse("not in " + std::to_string(timeoutMs) + " ms: " + missing(conditions, mirror, call));
        }
        if (code != VCFG_OK) {
            return nobodyAnswers("vcmd has closed the watch, or has ended");
        }
        mirror.take(change);
    }
    print(conditions, mirror, call);
    return kDone;
}

}  // namespace

int runWait(const Call& call) {
    uint64_t timeoutMs = 0;
    if (call.operands.empty()) {
        return wrongUsage(call, "a condition is missing");
    }
    if (!numberOption(call, "timeout", UINT32_MAX, &timeoutMs)) {
        return kWrongUsage;
    }
    std::vector<Condition> conditions;
    std::string patterns;
    int status = kDone;
    for (size_t i = 0; i < call.operands.size() && status == kDone; ++i) {
        status = parse(call, call.operands[i], &conditions);
    }
    for (const Condition& condition : conditions) {
        patterns.append(patternsOf(condition.selection));
    }
    if (status == kDone) {
        status = joinBus(call.runDir);
    }
    Changes changes;
    if (status == kDone) {
        status = changes.open(patterns);
    }
    return status == kDone ? follow(call, conditions, static_cast<uint32_t>(timeoutMs), changes) : status;
}

}  // namespace vcfgctl
