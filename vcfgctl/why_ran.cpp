#include "why_ran.h"

#include <cstdio>

#include "client/deadline.h"
#include "devices.h"
#include "hook_runs.h"
#include "narrate.h"
#include "surroundings.h"
#include "verb.h"
#include "why_around.h"
#include "why_print.h"

namespace vcfgctl {
namespace {

bool isRun(const Told& told, const std::string& text) {
    return told.entry.kind == vcfg::recorder::Kind::Event && told.field(2).find(text) != std::string_view::npos &&
           (told.field(0) == "command" || told.field(0) == "hook");
}

const Told* lastRun(const Story& story, const std::string& text) {
    const Told* last = nullptr;
    for (const Told& told : story.all()) {
        last = isRun(told, text) ? &told : last;
    }
    return last;
}

// The first that the chain is about.
std::string deviceIn(const Story& story, const std::vector<Link>& chain) {
    std::string device;
    for (const Link& link : chain) {
        device = device.empty() ? deviceOf(story, *link.begin) : device;
    }
    return device;
}

}  // namespace

int explainRan(const std::string& text, const Story& story) {
    const int64_t nowUs = vcfg::monotonicUs();
    const Told* ran = lastRun(story, text);
    if (ran == nullptr) {
        return refuse("no command that holds \"" + text + "\" was run, as far as the recorder goes back");
    }
    const std::vector<Link> chain = story.chainTo(ran->entry.event);
    const Told& first = *chain.front().begin;
    printf("\"%s\" was run last %s, %s\n", whatText(*ran).c_str(), agoText(ran->timeUs(), nowUs).c_str(),
           clockText(ran->timeUs(), nowUs).c_str());
    printf("  because  %s, %s\n\n", causeText(story, first).c_str(), agoText(first.timeUs(), nowUs).c_str());
    printChain(story, chain, nullptr, nowUs);
    if (const Told* end = endOf(story, *ran); end != nullptr && !isTrouble(*end)) {
        printf("  %12s  %s\n", agoText(end->timeUs(), nowUs).c_str(), outcomeText(*end).c_str());
    } else if (end == nullptr && isRunning(story, *ran)) {
        printf("  %12s  it has not ended\n", "so far");
    }
    if (const std::string device = deviceIn(story, chain); !device.empty()) {
        printAround(story, Surroundings::ofDevice(story, device), chain, ran->timeUs(), Around::All);
    }
    return kDone;
}

}  // namespace vcfgctl
