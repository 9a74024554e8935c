#include <json-c/json.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdio>

#include "ask.h"
#include "client/deadline.h"
#include "narrate.h"
#include "print.h"
#include "trace.h"
#include "trace_json.h"
#include "verb.h"

namespace vcfgctl {
namespace {

namespace recorder = vcfg::recorder;

constexpr useconds_t kRoundUs = 100000;
// What was begun a moment ago may not be whole yet.
constexpr int64_t kSettledUs = 20000;

int takeOptions(const Call& call, Wanted& wanted, uint64_t* timeoutMs) {
    uint64_t event = 0;
    uint64_t seconds = 0;
    if (!numberOption(call, "event", UINT32_MAX, &event) || !numberOption(call, "since", UINT32_MAX, &seconds) ||
        !numberOption(call, "timeout", UINT32_MAX, timeoutMs)) {
        return kWrongUsage;
    }
    wanted.event = static_cast<uint32_t>(event);
    wanted.sinceUs =
        call.option("since") != nullptr ? vcfg::monotonicUs() - static_cast<int64_t>(seconds) * 1000000 : 0;
    wanted.process = call.option("process") != nullptr ? *call.option("process") : "";
    wanted.path = call.operands.empty() ? "" : call.operands[0];
    return call.operands.size() > 1 ? wrongUsage(call, "takes one path") : kDone;
}

int read(std::vector<Told>* told) {
    std::string why;
    return recorder::readRecorder(recorder::recorderPath(), told, &why) ? kDone : refuse(why);
}

void printLines(const Call& call, const Story& story, const std::set<uint32_t>& events, int64_t fromUs, int64_t toUs) {
    const int64_t nowUs = vcfg::monotonicUs();
    for (const Told& told : story.all()) {
        const bool isTwice = told.isBegin() && story.begin(told.entry.event) != &told;
        if (!events.contains(told.entry.event) || isTwice || told.timeUs() < fromUs || told.timeUs() >= toUs) {
            continue;
        }
        if (call.json) {
            printJsonLine(jsonOf(story, told));
        } else if (told.entry.kind != recorder::Kind::End) {
            const size_t depth = story.chainTo(told.entry.event).size() - (told.isBegin() ? 1 : 0);
            printf("%s %s%s  #%u\n", clockText(told.timeUs(), nowUs).c_str(), std::string(2 * depth, ' ').c_str(),
                   sentenceOf(story, told).c_str(), told.entry.event);
        }
    }
}

// The recorder is looked at again and again: nobody is told of what comes.
int follow(const Call& call, const Wanted& wanted, uint64_t timeoutMs) {
    const vcfg::Deadline deadline = vcfg::Deadline::ofCall(static_cast<uint32_t>(timeoutMs));
    int64_t shownUs = vcfg::monotonicUs();
    while (!deadline.passed()) {
        usleep(kRoundUs);
        std::vector<Told> told;
        const int status = read(&told);
        if (status != kDone) {
            return status;
        }
        const Story story(std::move(told));
        const int64_t untilUs = vcfg::monotonicUs() - kSettledUs;
        printLines(call, story, choose(story, wanted), shownUs, untilUs);
        shownUs = std::max(shownUs, untilUs);
        if (!outputTakes()) {
            return outputRefuses();
        }
    }
    return kDone;
}

int show(const Call& call, const Wanted& wanted) {
    std::vector<Told> told;
    const int status = read(&told);
    if (status != kDone) {
        return status;
    }
    const Story story(std::move(told));
    const std::set<uint32_t> events = choose(story, wanted);
    if (const std::string* file = call.option("browser"); file != nullptr) {
        return writeBrowserTrace(story, events, *file) ? kDone : refuse(*file + ": cannot be written");
    }
    call.json ? printLines(call, story, events, 0, INT64_MAX) : printTree(story, events);
    return outputTakes() ? kDone : outputRefuses();
}

}  // namespace

int runTrace(const Call& call) {
    Wanted wanted;
    uint64_t timeoutMs = 0;
    int status = takeOptions(call, wanted, &timeoutMs);
    if (status == kDone) {
        status = joinBus(call.runDir);
    }
    std::signal(SIGPIPE, SIG_IGN);
    if (status != kDone) {
        return status;
    }
    return call.option("follow") != nullptr ? follow(call, wanted, timeoutMs) : show(call, wanted);
}

}  // namespace vcfgctl
