#include "why_print.h"

#include <json-c/json.h>

#include <cstdio>
#include <cstring>

#include "narrate.h"
#include "narrate_events.h"
#include "print.h"
#include "trace_json.h"

namespace vcfgctl {
namespace {

using vcfg::recorder::Kind;

void printStep(const std::string& sentence, int64_t timeUs, int64_t nowUs) {
    printf("  %12s  %s\n", agoText(timeUs, nowUs).c_str(), sentence.c_str());
}

// That vcmd has taken a write says no more than the write itself.
bool isWriteTaken(const Told& begin) {
    return begin.entry.kind == Kind::Received && (begin.entry.numbers[1] >> 8 & 0xff) == VCFG_EID_VCMD;
}

std::string becauseText(const Story& story, const std::vector<Link>& chain, int64_t nowUs) {
    if (chain.empty()) {
        return "";
    }
    const Told& first = *chain.front().begin;
    return causeText(story, first) + ", " + agoText(first.timeUs(), nowUs);
}

// The origin is that of the record: it tells who wrote something of it last.
std::string withoutRecorder(const Finding& finding, int64_t nowUs) {
    if (!finding.origin || finding.origin->by[0] == '\0') {
        return "not written since vcmd began: it is as configured, or as in a new instance";
    }
    const auto timeUs = static_cast<int64_t>(finding.origin->monotonicUs);
    return "no change of it is recorded; its object was written last " + agoText(timeUs, nowUs) + " (" +
           clockText(timeUs, nowUs) + ") by " +
           oneLine({finding.origin->by, strnlen(finding.origin->by, sizeof finding.origin->by)}) + ", event " +
           std::to_string(finding.origin->event);
}

// What is told of a chain: its events, what was done there that led on, and what came to nothing before that.
std::vector<const Told*> stepsOf(const Story& story, const std::vector<Link>& chain, const Told* last) {
    std::vector<const Told*> steps;
    for (size_t each = 0; each < chain.size(); ++each) {
        const Link& link = chain[each];
        steps.push_back(link.begin);
        const bool isLast = each + 1 == chain.size();
        const Told* until = link.led != nullptr ? link.led : isLast ? last : chain[each + 1].begin;
        for (const Told* step : story.stepsOf(link.begin->entry.event)) {
            if (isTrouble(*step) && step != until && (until == nullptr || step->timeUs() <= until->timeUs())) {
                steps.push_back(step);
            }
        }
        if (link.led != nullptr && link.led->field(0) != "report") {  // the report is the begin's own sentence
            steps.push_back(link.led);
        }
    }
    if (last != nullptr) {
        steps.push_back(last);
    }
    return steps;
}

void addChain(json_object* line, const Story& story, const Finding& finding) {
    json_object* steps = json_object_new_array();
    for (const Told* step : stepsOf(story, finding.chain, nullptr)) {
        json_object_array_add(steps, jsonOf(story, *step));
    }
    json_object_object_add(line, "chain", steps);
}

// Times are told by the clock of now, which others than this one may have been told by.
std::string clockSetSince(const Story& story, int64_t timeUs) {
    std::string text;
    for (const Told& told : story.all()) {
        if (told.timeUs() > timeUs && told.entry.kind == Kind::Event && told.field(0) == "clock") {
            text = " (" + whatText(told) + " after that)";
        }
    }
    return text;
}

json_object* textOrNull(bool there, const std::string& text) {
    return there ? jsonText(text) : nullptr;
}

}  // namespace

void printSince(const Story& story, const std::vector<Link>& chain, int64_t timeUs, int64_t nowUs) {
    printf("  since    %s, %s%s\n", clockText(timeUs, nowUs).c_str(), agoText(timeUs, nowUs).c_str(),
           clockSetSince(story, timeUs).c_str());
    const std::string because = becauseText(story, chain, nowUs);
    printf("  because  %s\n\n", because.empty() ? "of something that the recorder no longer has" : because.c_str());
}

void printChain(const Story& story, const std::vector<Link>& chain, const Told* change, int64_t nowUs) {
    for (const Told* step : stepsOf(story, chain, change)) {
        if (!isWriteTaken(*step) || step == chain.front().begin) {
            printStep(sentenceOf(story, *step), step->timeUs(), nowUs);
        }
    }
}

void printMet(const Story& story, const std::vector<const Told*>& met, int64_t nowUs) {
    if (!met.empty()) {
        printf("\n  what it stands on has met since:\n\n");
    }
    for (const Told* begin : met) {
        printStep(sentenceOf(story, *begin), begin->timeUs(), nowUs);
        for (const Told* step : story.stepsOf(begin->entry.event)) {
            const bool isMessage = step->entry.kind == Kind::Sent && destinationOf(*step) != VCFG_EID_VCMD &&
                                   destinationOf(*step) != VCFG_EID_TARN;
            if (isMessage || isTrouble(*step)) {
                printStep(sentenceOf(story, *step), step->timeUs(), nowUs);
            }
        }
    }
}

void printFull(const Story& story, const Finding& finding, int64_t nowUs) {
    const std::string path = finding.path();
    if (finding.change == nullptr) {
        printf("%s is \"%s\"\n  %s\n", path.c_str(), finding.value.c_str(), withoutRecorder(finding, nowUs).c_str());
        if (finding.origin && story.begin(finding.origin->event) != nullptr) {
            puts("");
            printChain(story, story.chainTo(finding.origin->event), nullptr, nowUs);
        }
        return;
    }
    if (finding.isCurrent()) {
        printf("%s is \"%s\"; before, it was \"%s\"\n", path.c_str(), finding.value.c_str(),
               valueBefore(*finding.change).c_str());
    } else {
        printf("%s is \"%s\"; how it became that is not recorded. The last recorded change:\n", path.c_str(),
               finding.value.c_str());
    }
    printSince(story, finding.chain, finding.change->timeUs(), nowUs);
    printChain(story, finding.chain, finding.change, nowUs);
}

void printShort(const Story& story, const Finding& finding, int64_t nowUs) {
    const std::string because = becauseText(story, finding.chain, nowUs);
    const std::string why = finding.change == nullptr ? withoutRecorder(finding, nowUs)
                            : because.empty()         ? "changed " + agoText(finding.change->timeUs(), nowUs)
                                                      : because;
    printf("%s=%s  %s\n", finding.path().c_str(), finding.value.c_str(), why.c_str());
}

void printJson(const Story& story, const Finding& finding) {
    const bool isKnown = finding.change != nullptr;
    json_object* line = json_object_new_object();
    json_object_object_add(line, "path", jsonText(finding.path()));
    json_object_object_add(line, "value", jsonText(finding.value));
    json_object_object_add(line, "before", textOrNull(isKnown, isKnown ? valueBefore(*finding.change) : ""));
    json_object_object_add(line, "current", json_object_new_boolean(finding.isCurrent()));
    json_object_object_add(line, "cause",
                           textOrNull(!finding.chain.empty(),
                                      finding.chain.empty() ? "" : causeText(story, *finding.chain.front().begin)));
    json_object_object_add(line, "change", isKnown ? jsonOf(story, *finding.change) : nullptr);
    json_object_object_add(line, "by",
                           textOrNull(finding.origin.has_value(), finding.origin ? finding.origin->by : ""));
    addChain(line, story, finding);
    printJsonLine(line);
}

}  // namespace vcfgctl
