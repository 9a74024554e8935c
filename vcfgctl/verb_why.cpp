#include <cstdio>

#include "ask.h"
#include "client/deadline.h"
#include "client/model_lease.h"
#include "instances.h"
#include "narrate.h"
#include "print.h"
#include "secret.h"
#include "verb.h"

namespace vcfgctl {
namespace {

namespace model = vcfg::model;
namespace recorder = vcfg::recorder;
using vcfg::recorder::Kind;

// One parameter, as it is and as it came to be so.
struct Finding {
    std::string path;
    std::string value;
    const Told* change;                        // null when the recorder has lost it
    std::vector<Link> chain;                   // to the event under which it was changed
    std::optional<vcfg::store::Origin> origin;  // of the whole record; what is known without the recorder
};

std::optional<vcfg::store::Origin> originOf(const model::Object& object, const objIndex& iid) {
    vcfg::ModelLease lease;
    if (lease.take() != VCFG_OK) {
        return std::nullopt;
    }
    const vcfg::store::Found found = lease.view().get(object.oid, iid);
    return found.code == VCFG_OK ? std::optional(vcfg::store::originOf(found.value)) : std::nullopt;
}

Finding find(const Story& story, const model::Object& object, const objIndex& iid, const model::Parameter& parameter,
             const void* record) {
    Finding finding{model::path(object, iid) + "." + parameter.name,
                    parameter.isSecret() ? std::string(model::kHidden) : valueText(parameter, record),
                    story.lastChange(object, iid, parameter),
                    {},
                    originOf(object, iid)};
    if (finding.change != nullptr) {
        finding.chain = story.chainTo(finding.change->entry.event);
    }
    return finding;
}

void printStep(const std::string& sentence, int64_t timeUs, int64_t nowUs) {
    printf("  %12s  %s\n", agoText(timeUs, nowUs).c_str(), sentence.c_str());
}

// That vcmd has taken a write says no more than the write itself.
bool isWriteTaken(const Told& begin) {
    return begin.entry.kind == Kind::Received && (begin.entry.numbers[1] >> 8 & 0xff) == VCFG_EID_VCMD;
}

void printChain(const Story& story, const Finding& finding, int64_t nowUs) {
    for (const Link& link : finding.chain) {
        if (!isWriteTaken(*link.begin) || &link == &finding.chain.front()) {
            printStep(sentenceOf(story, *link.begin), link.begin->timeUs(), nowUs);
        }
        if (link.led != nullptr) {
            printStep(sentenceOf(story, *link.led), link.led->timeUs(), nowUs);
        }
    }
    printStep(sentenceOf(story, *finding.change), finding.change->timeUs(), nowUs);
}

void printKnownWithoutRecorder(const Finding& finding, int64_t nowUs) {
    if (!finding.origin || finding.origin->by[0] == '\0') {
        printf("  nobody has written it since vcmd began: it is as configured, or as it is in a new instance\n");
        return;
    }
    const auto timeUs = static_cast<int64_t>(finding.origin->monotonicUs);
    printf("  its object was written last at %s, %s, by %s; the recorder does not go back to when it was changed\n",
           clockText(timeUs, nowUs).c_str(), agoText(timeUs, nowUs).c_str(), finding.origin->by);
}

void printFull(const Story& story, const Finding& finding) {
    const int64_t nowUs = vcfg::monotonicUs();
    const std::string value = oneLine(finding.value);
    if (finding.change == nullptr) {
        printf("%s is \"%s\"\n", finding.path.c_str(), value.c_str());
        printKnownWithoutRecorder(finding, nowUs);
        return;
    }
    const int64_t timeUs = finding.change->timeUs();
    printf("%s is \"%s\", before it was \"%s\"\n", finding.path.c_str(), value.c_str(),
           valueBefore(*finding.change).c_str());
    printf("  since %s, %s\n", clockText(timeUs, nowUs).c_str(), agoText(timeUs, nowUs).c_str());
    if (!finding.chain.empty()) {
        const Told& first = *finding.chain.front().begin;
        printf("  because %s %s\n", causeText(story, first).c_str(), agoText(first.timeUs(), nowUs).c_str());
    }
    puts("");
    printChain(story, finding, nowUs);
}

}  // namespace

int runWhy(const Call& call) {
    if (call.operands.empty()) {
        return wrongUsage(call, "a path is missing");
    }
    std::string why;
    const std::vector<Selection> selections = select(call.operands[0], &why);
    if (selections.empty()) {
        return refuse(call.operands[0] + ": " + why);
    }
    int status = joinBus(call.runDir);
    std::vector<Told> told;
    if (status == kDone && !recorder::readRecorder(recorder::recorderPath(), &told, &why)) {
        return refuse(why);
    }
    const Story story(std::move(told));
    for (size_t each = 0; each < selections.size() && status == kDone; ++each) {
        const Selection& selection = selections[each];
        status = forEach(selection, false, [&](const objIndex& iid, const void* record) {
            for (const model::Parameter& parameter : selection.object->parameters) {
                if (selection.parameter == nullptr || selection.parameter == &parameter) {
                    printFull(story, find(story, *selection.object, iid, parameter, record));
                }
            }
        });
    }
    return status;
}

}  // namespace vcfgctl
