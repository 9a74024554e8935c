#include "hook_runs.h"

#include <algorithm>

#include "narrate.h"
#include "narrate_events.h"
#include "print.h"

namespace vcfgctl {

using vcfg::recorder::Kind;

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

std::string hookTroubleText(const Told& trouble, int64_t nowUs) {
    const std::string what = trouble.isBegin() ? " has not ended, it began " : " failed ";
    return "a hook of it, or of what it stands on," + what + agoText(trouble.timeUs(), nowUs);
}

std::string pathOfHook(const Told& hook) {
    const std::string what = fieldText(hook, 2);
    return what.substr(what.rfind(' ') + 1);
}

}  // namespace vcfgctl
