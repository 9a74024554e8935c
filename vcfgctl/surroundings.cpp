#include "surroundings.h"

#include <algorithm>
#include <map>

#include "model/path_parts.h"
#include "instances.h"
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

// "eth0.5" is not what "eth0.50" names, nor "eth0" what "eth0.5" does.
bool goesOn(std::string_view rest) {
    return !rest.empty() && (isalnum(static_cast<unsigned char>(rest[0])) != 0 ||
                             (rest[0] == '.' && rest.size() > 1 && isdigit(static_cast<unsigned char>(rest[1])) != 0));
}

bool names(std::string_view text, std::string_view device) {
    for (size_t at = text.find(device); at != text.npos; at = text.find(device, at + 1)) {
        const bool isBegin = at == 0 || isalnum(static_cast<unsigned char>(text[at - 1])) == 0;
        if (isBegin && !goesOn(text.substr(at + device.size()))) {
            return true;
        }
    }
    return false;
}

// What about the whole gateway was noticed concerns whom it concerns.
bool isOfAll(const Told& told, const std::vector<std::string>& paths) {
    return told.field(0) == "clock" && !paths.empty() && paths.front() == "Time";
}

// One may notice several things of a device: they begin with another word.
std::string kindOf(const Told& told) {
    const std::string_view text = told.field(2);
    const size_t begin = isNotice(told) ? text.find(": ") : text.npos;
    return begin == text.npos ? std::string(told.field(0))
                              : std::string(text.substr(begin, text.find(' ', begin + 2) - begin));
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
    if (selections.empty() || !isThere(selections.front()) ||
        findAll(story_, selections.front(), &findings) != kDone) {
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
    return !device.empty() &&
           std::any_of(values_.begin(), values_.end(), [&](const std::string& value) { return names(value, device); });
}

bool Surroundings::isNear(const std::string& path) const {
    return std::any_of(paths_.begin(), paths_.end(), [&](const std::string& own) {
        return own == path || own.starts_with(path + ".") || path.starts_with(own + ".");
    });
}

std::string deviceOf(const Story& story, const Told& begin) {
    if (begin.entry.kind != Kind::Event) {
        return "";
    }
    if (begin.field(0) == "kernel" || isNotice(begin)) {
        const std::string text = fieldText(begin, 2);
        return text.substr(0, std::min(text.find(':'), text.find(' ')));
    }
    const Told* report = begin.field(0) == "program" ? story.reportOf(begin) : nullptr;
    const std::string text = report != nullptr ? fieldText(*report, 1) : "";
    const size_t of = text.find(" of ");
    return of == text.npos ? "" : text.substr(of + 4, text.find(": ", of) - of - 4);
}

std::string pathOfHook(const Told& hook) {
    const std::string what = fieldText(hook, 2);
    return what.substr(what.rfind(' ') + 1);
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

std::string hookTroubleText(const Told& trouble, int64_t nowUs) {
    const std::string what = trouble.isBegin() ? " has not ended, it began " : " failed ";
    return "a hook of it, or of what it stands on," + what + agoText(trouble.timeUs(), nowUs);
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
    for (const auto& one : latest) {
        met.push_back(one.second);
    }
    std::sort(met.begin(), met.end(),
              [](const Told* left, const Told* right) { return left->timeUs() < right->timeUs(); });
    return met;
}

const Told* endOf(const Story& story, const Told& begin) {
    const Told* end = nullptr;
    for (const Told* step : story.stepsOf(begin.entry.event)) {
        const bool isEnd = step->entry.kind == Kind::Step && (step->field(0) == "status" || step->field(0) == "failed");
        end = isEnd && (end == nullptr || step->field(0) == "failed") ? step : end;
    }
    return end;
}

bool isRunning(const Story& story, const Told& begin) {
    const auto brief = std::find_if(story.all().begin(), story.all().end(),
                                    [](const Told& told) { return told.lane == vcfg::recorder::Lane::Brief; });
    return endOf(story, begin) == nullptr && brief != story.all().end() && brief->timeUs() <= begin.timeUs();
}

}  // namespace vcfgctl
