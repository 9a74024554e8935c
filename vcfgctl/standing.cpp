#include "standing.h"

#include <algorithm>
#include <string_view>

#include "gone_clients.h"
#include "narrate.h"
#include "narrate_events.h"
#include "stack.h"

namespace vcfgctl {
namespace {

namespace model = vcfg::model;

using Findings = std::vector<Finding>;

std::string objectOf(const Finding& finding) {
    return model::path(*finding.object, finding.iid);
}

bool isOf(const Finding& finding, std::string_view parameter) {
    return finding.parameter->name == parameter;
}

bool isOff(const Finding& finding) {
    return isOf(finding, "Enable") && finding.value == "false";
}

bool isDown(const Finding& finding) {
    return isOf(finding, "Status") && (finding.value == "Down" || finding.value == "LowerLayerDown" ||
                                       finding.value == "NotPresent" || finding.value.starts_with("Error"));
}

bool isDownThere(const Findings& all, const std::string& path) {
    return std::any_of(all.begin(), all.end(),
                       [&](const Finding& finding) { return isDown(finding) && objectOf(finding) == path; });
}

// What it names is down, too, which is the reason.
bool isDownBelow(const Findings& all, const Finding& status) {
    return std::any_of(all.begin(), all.end(), [&](const Finding& finding) {
        return objectOf(finding) == objectOf(status) && isPath(finding.value) && isDownThere(all, finding.value);
    });
}

// The change and the chain are the same, seen from another object.
bool isTold(const Finding& finding, const std::vector<Link>& chain) {
    return !chain.empty() && !finding.chain.empty() && finding.isCurrent() &&
           finding.chain.front().begin == chain.front().begin;
}

// Commands may be long, and are no more than a hint here.
std::string shortened(std::string cause) {
    constexpr size_t kMost = 80;
    if (cause.size() > kMost) {
        cause.replace(kMost - 3, cause.npos, "...");
    }
    return cause;
}

Remark remarkOn(const Story& story, const Finding& finding) {
    const std::string is = finding.path() + " is " + quoted(finding.value);
    if (!finding.isCurrent()) {
        return {std::nullopt, is};
    }
    const std::string cause = finding.chain.empty() ? "" : causeText(story, *finding.chain.front().begin);
    return {finding.change->timeUs(), cause.empty() ? is : is + ", which came of this: " + shortened(cause)};
}

void addInstead(const Story& story, const std::string& path, std::vector<Remark>* remarks) {
    for (const Layer& other : beside(layersOf(story), path)) {
        std::string why;
        Findings findings;
        const std::vector<Selection> selections = select(other.higher + ".Status", &why);
        if (selections.empty() || findAll(story, selections.front(), &findings) != 0) {
            continue;
        }
        for (const Finding& status : findings) {
            if (status.value == "Up") {
                const auto since = status.isCurrent() ? std::optional(status.change->timeUs()) : std::nullopt;
                remarks->push_back({since, other.lower + " carries " + other.higher + " instead, which is \"Up\""});
            }
        }
    }
}

void addGone(const Story& story, const Surroundings& surroundings, std::vector<Remark>* remarks) {
    for (const Told* start : goneClients(story, surroundings)) {
        remarks->push_back({std::nullopt, clientIn(*start) + ", process " + std::to_string(processIn(*start)) +
                                              ", runs no more; who or what has ended it, nobody has told"});
    }
}

}  // namespace

std::vector<Remark> remarksOn(const Story& story, const Surroundings& surroundings, const std::vector<Link>& chain) {
    const Findings& all = surroundings.parameters();
    std::vector<Remark> remarks;
    for (const Finding& finding : all) {
        const bool isLowest = isDown(finding) && !isDownBelow(all, finding);
        if ((isOff(finding) || isLowest) && !isTold(finding, chain)) {
            remarks.push_back(remarkOn(story, finding));
        }
        if (isLowest) {
            addInstead(story, objectOf(finding), &remarks);
        }
    }
    addGone(story, surroundings, &remarks);
    return remarks;
}

}  // namespace vcfgctl
