#include "surroundings.h"

#include <algorithm>
#include <map>

#include "model/path_parts.h"
#include "narrate_events.h"

namespace vcfgctl {
namespace {

namespace model = vcfg::model;
using vcfg::recorder::Kind;

// "IP.Interface.1" of "IP.Interface.1.IPv4Address.1"; empty when there is no instance above.
std::string parentOf(const std::string& path) {
    Parts parts = split(path);
    do {
        parts.pop_back();
    } while (!parts.empty() && !model::isNumber(parts.back()));
    return join(parts, parts.size());
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

bool isPath(const std::string& value) {
    const size_t dot = value.rfind('.');
    return dot != value.npos && model::isNumber(std::string_view(value).substr(dot + 1)) &&
           value.find('/') == value.npos;
}

}  // namespace

Surroundings::Surroundings(const Story& story, const Finding& finding) : story_(story) {
    for (std::string path = model::path(*finding.object, finding.iid); !path.empty(); path = parentOf(path)) {
        take(path);
    }
}

void Surroundings::take(const std::string& path) {
    std::string why;
    const std::vector<Selection> selections = select(path + ".", &why);
    std::vector<Finding> findings;
    paths_.push_back(path);
    if (selections.empty() || findAll(story_, selections.front(), &findings) != 0) {
        return;
    }
    for (const Finding& finding : findings) {
        if (finding.parameter->kind == model::Kind::Text && !finding.value.empty()) {
            values_.push_back(finding.value);
            if (isPath(finding.value)) {
                paths_.push_back(finding.value);
            }
        }
    }
}

bool Surroundings::isNamed(std::string_view device) const {
    return !device.empty() &&
           std::any_of(values_.begin(), values_.end(), [&](const std::string& value) { return names(value, device); });
}

std::string Surroundings::deviceOf(const Told& begin) const {
    if (begin.entry.kind != Kind::Event) {
        return "";
    }
    if (begin.field(0) == "kernel") {
        const std::string text = fieldText(begin, 2);
        return text.substr(0, text.find(':'));
    }
    const Told* report = begin.field(0) == "program" ? story_.reportOf(begin) : nullptr;
    const std::string text = report != nullptr ? fieldText(*report, 1) : "";
    const size_t of = text.find(" of ");
    return of == text.npos ? "" : text.substr(of + 4, text.find(": ", of) - of - 4);
}

const Told* Surroundings::lastHook() const {
    const Told* last = nullptr;
    for (const Told& told : story_.all()) {
        if (told.entry.kind == Kind::Event && told.field(0) == "hook") {
            const std::string what = fieldText(told, 2);
            const std::string path = what.substr(what.rfind(' ') + 1);
            last = std::find(paths_.begin(), paths_.end(), path) != paths_.end() ? &told : last;
        }
    }
    return last;
}

std::vector<const Told*> Surroundings::metSince(int64_t timeUs) const {
    std::map<std::pair<bool, std::string>, const Told*> latest;  // the kernel's and the clients', by device
    for (const Told& told : story_.all()) {
        const std::string device = told.timeUs() > timeUs ? deviceOf(told) : "";
        if (isNamed(device)) {
            latest[{told.field(0) == "kernel", device}] = &told;
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
