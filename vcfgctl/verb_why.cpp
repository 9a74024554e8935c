#include <cstdio>

#include "ask.h"
#include "client/deadline.h"
#include "instances.h"
#include "verb.h"
#include "why_around.h"
#include "why_gone.h"
#include "why_not.h"
#include "why_print.h"
#include "why_ran.h"

namespace vcfgctl {
namespace {

namespace recorder = vcfg::recorder;

// One is explained, many are listed.
void print(const Call& call, const Story& story, const std::vector<Finding>& findings) {
    const int64_t nowUs = vcfg::monotonicUs();
    for (const Finding& finding : findings) {
        if (call.json) {
            printJson(story, finding);
        } else if (findings.size() == 1 || call.option("full") != nullptr) {
            printFull(story, finding, nowUs);
            if (findings.size() == 1) {
                printAround(story, finding);
            }
        } else {
            printShort(story, finding, nowUs);
        }
    }
}

int explain(const Call& call, const Story& story) {
    std::vector<Finding> findings;
    for (const std::string& path : call.operands) {
        std::string why;
        const std::vector<Selection> selections = select(path, &why);
        if (selections.empty()) {
            return refuse(std::string(path).append(": ").append(why));
        }
        for (const Selection& selection : selections) {
            if (!call.json && selections.size() == 1 && explainGone(story, selection) && !isThere(selection)) {
                continue;
            }
            const int status = findAll(story, selection, &findings);
            if (status != kDone) {
                return status;
            }
        }
    }
    print(call, story, findings);
    return outputTakes() ? kDone : outputRefuses();
}

}  // namespace

int runWhy(const Call& call) {
    const std::string* const ran = call.option("ran");
    const bool isNot = call.option("not") != nullptr;
    if ((ran == nullptr && call.operands.empty()) || (isNot && call.operands.size() > 1)) {
        return wrongUsage(call, isNot ? "--not takes one PATH=VALUE" : "a path is missing");
    }
    if (ran != nullptr && (isNot || !call.operands.empty())) {
        return wrongUsage(call, "--ran stands alone");
    }
    std::string why;
    std::vector<Told> told;
    const int status = joinBus(call.runDir);
    if (status != kDone) {
        return status;
    }
    if (!recorder::readRecorder(recorder::recorderPath(), &told, &why)) {
        return refuse(why);
    }
    const Story story(std::move(told));
    if (ran != nullptr) {
        return explainRan(*ran, story);
    }
    return isNot ? explainNot(call.operands[0], story) : explain(call, story);
}

}  // namespace vcfgctl
