#include "surroundings.h"

#include <algorithm>
#include <map>

#include "devices.h"
#include "hook_runs.h"
#include "instances.h"
#include "model/path_parts.h"
#include "narrate.h"
#include "narrate_events.h"
#include "verb.h"

namespace vcfgctl {
namespace {

namespace model = vcfg::model;
using vcfg::recorder::Kind;

// An object that stands on so many is none that people make.
constexpr size_t kMostObjects = 32;

// That object, and those that it lies in.
std::vector<std::string> withParents(const std::string& path) {
    std::vector<std::string> paths;
    const Parts parts = split(path);
    for (size_t each = parts.size(); each > 0; --each) {
        const std::string one = join(parts, each);
        const auto resolved = model::resolve(one);
        if (resolved && resolved->rest.empty()) {
            paths.push_back(one);
        }
    }
    return paths;
}

// What about the whole gateway was noticed concerns whom it concerns.
bool isOfAll(const Told& told, const std::vector<std::string>& paths) {
    return told.field(0) == "clock" && !paths.empty() && paths.front() == "Time";
}

}  // namespace

bool isPath(const std::string& value) {
    const size_t dot = value.rfind('.');
    return dot != value.npos && model::isNumber(std::string_view(value).substr(dot + 1)) &&
           value.find('/') == value.npos;
}

Surroundings::Surroundings(const Story& story, const std::string& path) : story_(story) {
    for (const std::string& each : withParents(path)) {
        take(each);
    }
}

Surroundings Surroundings::ofDevice(const Story& story, const std::string& device) {
    Surroundings surroundings(story);
    std::string why;
    std::vector<Finding> findings;
    findAll(story, select("IP.Interface.*.X_VORAN_IfName", &why).front(), &findings);
    for (const Finding& finding : findings) {
        if (finding.value == device) {
            surroundings.take(model::path(*finding.object, finding.iid));
        }
    }
    surroundings.values_.push_back(device);
    return surroundings;
}

void Surroundings::take(const std::string& path) {
    std::string why;
    const bool isKnown = std::find(paths_.begin(), paths_.end(), path) != paths_.end();
    if (isKnown || paths_.size() == kMostObjects) {
        return;
    }
    paths_.push_back(path);
    const std::vector<Selection> selections = selectInstances(path, &why);
    std::vector<Finding> findings;
    if (selections.empty() || !isThere(selections.front()) || findAll(story_, selections.front(), &findings) != kDone) {
        return;
    }
    parameters_.insert(parameters_.end(), findings.begin(), findings.end());
    for (const Finding& finding : findings) {
        takeValue(finding);
    }
}

// What it names is what it stands on, and so is what that names.
void Surroundings::takeValue(const Finding& finding) {
    if (finding.parameter->kind != model::Kind::Text || finding.value.empty()) {
        return;
    }
    values_.push_back(finding.value);
    const auto resolved = isPath(finding.value) ? model::resolve(finding.value) : std::nullopt;
    if (resolved && resolved->rest.empty()) {
        take(finding.value);
    }
}

bool Surroundings::isNamed(std::string_view device) const {
    return !device.empty() && std::any_of(values_.begin(), values_.end(),
                                          [&](const std::string& value) { return namesDevice(value, device); });
}

bool Surroundings::isNear(const std::string& path) const {
    return std::any_of(paths_.begin(), paths_.end(), [&](const std::string& own) {
        return own == path || own.starts_with(path + ".") || path.starts_with(own + ".");
    });
}

const Told* Surroundings::lastHook() const {
    const Told* last = nullptr;
    for (const Told& told : story_.all()) {
        if (told.entry.kind == Kind::Event && told.field(0) == "hook") {
            last = std::find(paths_.begin(), paths_.end(), pathOfHook(told)) != paths_.end() ? &told : last;
        }
    }
    return last;
}

const Told* Surroundings::hookTrouble() const {
    const Told* const hook = lastHook();
    if (hook == nullptr || isRunning(story_, *hook)) {
        return hook;
    }
    const Told* const end = endOf(story_, *hook);
    return end != nullptr && isTrouble(*end) ? end : nullptr;
}

bool Surroundings::isMet(const Told& told) const {
    return isNamed(deviceOf(story_, told)) || isOfAll(told, paths_);
}

std::vector<const Told*> Surroundings::metSince(int64_t timeUs) const {
    std::map<std::pair<std::string, std::string>, const Told*> latest;  // by kind and device
    for (const Told& told : story_.all()) {
        if (told.timeUs() > timeUs && isMet(told)) {
            latest[{kindOf(told), deviceOf(story_, told)}] = &told;
        }
    }
    std::vector<const Told*> met;
    met.reserve(latest.size());
    for (const auto& one : latest) {
        met.push_back(one.second);
    }
    std::sort(met.begin(), met.end(),
              [](const Told* left, const Told* right) { return left->timeUs() < right->timeUs(); });
    return met;
}

}  // namespace vcfgctl
