#include "why_not.h"

#include <algorithm>
#include <cstdio>
#include <unordered_map>

#include "client/deadline.h"
#include "client/fe_wire.h"
#include "hook_runs.h"
#include "instances.h"
#include "narrate.h"
#include "surroundings.h"
#include "value.h"
#include "verb.h"
#include "why_around.h"
#include "why_gone.h"
#include "why_print.h"

namespace vcfgctl {
namespace {

namespace model = vcfg::model;
using vcfg::recorder::Kind;

// What the recorder knows of the way to the value: the latest of each.
struct Way {
    const Told* lost = nullptr;     // the change that made it something else again
    const Told* refused = nullptr;  // a write of the object that came to nothing, and why
    const Told* written = nullptr;  // a write of the object
    const Told* looked = nullptr;   // somebody looked at the object, and wrote nothing
    const Told* hook = nullptr;     // it failed, or it has not ended
};

bool isAbout(const Told& told, const Finding& finding) {
    const uint32_t oid = told.entry.kind == Kind::Sent ? told.entry.cause : told.entry.numbers[0] & 0xffff;
    const bool isObject = told.entry.kind == Kind::Sent || told.entry.kind == Kind::Read;
    const objIndex iid = instanceOf(told);
    return isObject && oid == finding.object->oid &&
           model::path(*finding.object, iid) == model::path(*finding.object, finding.iid);
}

// vcmd's refusal is under the event that the write became there.
using Refusals = std::unordered_map<const Told*, const Told*>;

Refusals refusalsIn(const Story& story) {
    Refusals refusals;
    for (const Told& told : story.all()) {
        const Told* const sent = told.isBegin() ? story.causeOf(told).led : nullptr;
        if (sent == nullptr || refusals.contains(sent)) {
            continue;
        }
        for (const Told* step : story.stepsOf(told.entry.event)) {
            if (step->entry.kind == Kind::Step && step->field(0) == "refused") {
                refusals.emplace(sent, step);
            }
        }
    }
    return refusals;
}

void take(Way& way, const Refusals& refusals, const Told& told, const Finding& finding, const std::string& value) {
    Changed changed{};
    if (toChanged(told, &changed) && changed.path() == finding.path()) {
        way.lost = valueBefore(told) == value ? &told : way.lost;
    } else if (isAbout(told, finding) && told.entry.kind == Kind::Sent) {
        const auto refusal = refusals.find(&told);
        (refusal != refusals.end() ? way.refused : way.written) = refusal != refusals.end() ? refusal->second : &told;
    } else if (isAbout(told, finding)) {
        way.looked = &told;
    }
}

Way wayTo(const Story& story, const Refusals& refusals, const Finding& finding, const Surroundings& surroundings,
          const std::string& value) {
    Way way;
    for (const Told& told : story.all()) {
        take(way, refusals, told, finding, value);
    }
    way.hook = surroundings.hookTrouble();
    return way;
}

// A sentence with its time, and what led there.
struct Ending {
    const Told* at;
    std::string text;
};

// What has ended the way last; else what there is instead; else who could have gone it.
Ending endingOf(const Way& way, const Finding& finding, int64_t nowUs) {
    const auto ago = [nowUs](const Told& told) { return agoText(told.timeUs(), nowUs); };
    std::vector<Ending> endings;
    if (way.lost != nullptr) {
        endings.push_back({way.lost, "it was, until " + ago(*way.lost)});
    }
    if (way.refused != nullptr) {
        const std::string why(way.refused->field(1));
        endings.push_back({way.refused, "a write was refused " + ago(*way.refused) + ": " + why});
    }
    if (way.hook != nullptr) {
        endings.push_back({way.hook, hookTroubleText(*way.hook, nowUs)});
    }
    const auto last = std::max_element(endings.begin(), endings.end(), [](const Ending& left, const Ending& right) {
        return left.at->timeUs() < right.at->timeUs();
    });
    if (last != endings.end()) {
        return *last;
    }
    if (finding.isCurrent()) {
        return {finding.change, "it became \"" + valueAfter(*finding.change) + "\" " + ago(*finding.change)};
    }
    if (way.written != nullptr) {
        return {way.written, "its object was written " + ago(*way.written) + ", without that value"};
    }
    return way.looked != nullptr
               ? Ending{way.looked, "its object was last looked at " + ago(*way.looked) + ", and not written"}
               : Ending{nullptr, "nobody has tried to write it, as far as the recorder goes back"};
}

void explainWay(const Story& story, const Refusals& refusals, const Finding& finding, const std::string& value) {
    const int64_t nowUs = vcfg::monotonicUs();
    const Surroundings surroundings(story, model::path(*finding.object, finding.iid));
    const Way way = wayTo(story, refusals, finding, surroundings, value);
    const Ending ending = endingOf(way, finding, nowUs);
    printf("%s is \"%s\", not \"%s\"\n  %s\n", finding.path().c_str(), finding.value.c_str(), value.c_str(),
           ending.text.c_str());
    const std::vector<Link> chain = ending.at != nullptr ? story.chainTo(ending.at->entry.event) : std::vector<Link>();
    if (ending.at != nullptr) {
        puts("");
        printChain(story, chain, ending.at->isBegin() ? nullptr : ending.at, nowUs);
    }
    printAround(story, surroundings, chain, ending.at != nullptr ? ending.at->timeUs() : 0, Around::All);
    printUnsaved(story, finding);
}

// Why no write can make it so; empty when one can.
std::string whyNever(const Finding& finding, const std::string& value) {
    std::string why;
    asShown(*finding.parameter, value, &why);
    return why;
}

void explainFinding(const Story& story, const Refusals& refusals, const Finding& finding, const std::string& value) {
    const std::string never = whyNever(finding, value);
    if (finding.value == value) {
        printFull(story, finding, vcfg::monotonicUs());
        printAround(story, finding);
    } else if (!never.empty()) {
        printf("%s is \"%s\", and cannot be \"%s\"\n  whoever writes it is refused: %s\n", finding.path().c_str(),
               finding.value.c_str(), value.c_str(), never.c_str());
    } else {
        explainWay(story, refusals, finding, value);
    }
}

}  // namespace

int explainNot(const std::string& assignment, const Story& story) {
    const size_t equals = assignment.find('=');
    std::string why = "--not takes PATH=VALUE";
    const std::vector<Selection> selections =
        equals == assignment.npos ? std::vector<Selection>() : select(assignment.substr(0, equals), &why);
    std::vector<Finding> findings;
    if (selections.empty() || selections.front().parameter == nullptr) {
        return refuse(assignment + ": " + why);
    }
    if (explainGone(story, selections.front()) && !isThere(selections.front())) {
        return kDone;
    }
    const int status = findAll(story, selections.front(), &findings);
    const Refusals refusals = refusalsIn(story);
    for (const Finding& finding : findings) {
        explainFinding(story, refusals, finding, assignment.substr(equals + 1));
    }
    return status;
}

}  // namespace vcfgctl
