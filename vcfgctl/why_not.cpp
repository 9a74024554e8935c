#include "why_not.h"

#include <cstdio>
#include <unordered_map>

#include "client/deadline.h"
#include "client/fe_wire.h"
#include "narrate.h"
#include "verb.h"
#include "why_print.h"

namespace vcfgctl {
namespace {

namespace model = vcfg::model;
using vcfg::recorder::Kind;

// What the recorder knows of the way to the value: the latest of each.
struct Way {
    const Told* had = nullptr;      // the change that made it so
    const Told* lost = nullptr;     // the one that made it something else again
    const Told* refused = nullptr;  // a write of the object that came to nothing, and why
    const Told* written = nullptr;  // a write of the object
    const Told* looked = nullptr;   // somebody looked at the object, and wrote nothing
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
        way.had = valueAfter(told) == value ? &told : way.had;
        way.lost = valueBefore(told) == value ? &told : way.lost;
    } else if (isAbout(told, finding) && told.entry.kind == Kind::Sent) {
        const auto refusal = refusals.find(&told);
        (refusal != refusals.end() ? way.refused : way.written) = refusal != refusals.end() ? refusal->second : &told;
    } else if (isAbout(told, finding)) {
        way.looked = &told;
    }
}

void printUnder(const Story& story, const Told& told, int64_t nowUs) {
    puts("");
    printChain(story, story.chainTo(told.entry.event), &told, nowUs);
}

void printWay(const Story& story, const Finding& finding, const Way& way, const std::string& value) {
    const int64_t nowUs = vcfg::monotonicUs();
    printf("%s is \"%s\", not \"%s\"\n", finding.path().c_str(), finding.value.c_str(), value.c_str());
    if (way.refused != nullptr) {
        printf("  a write was refused %s: %s\n", agoText(way.refused->timeUs(), nowUs).c_str(),
               std::string(way.refused->field(1)).c_str());
        printUnder(story, *way.refused, nowUs);
    } else if (way.lost != nullptr) {
        printf("  it was, until %s\n", agoText(way.lost->timeUs(), nowUs).c_str());
        printUnder(story, *way.lost, nowUs);
    } else if (way.written != nullptr) {
        printf("  its object was written %s, without that value\n", agoText(way.written->timeUs(), nowUs).c_str());
        printUnder(story, *way.written, nowUs);
    } else if (way.looked != nullptr) {
        printf("  its object was last looked at %s, and not written\n", agoText(way.looked->timeUs(), nowUs).c_str());
        printUnder(story, *way.looked, nowUs);
    } else {
        printf("  nobody has tried to write it, as far as the recorder goes back\n");
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
    const int status = findAll(story, selections.front(), &findings);
    const Refusals refusals = refusalsIn(story);
    const std::string value = assignment.substr(equals == assignment.npos ? 0 : equals + 1);
    for (const Finding& finding : findings) {
        if (finding.value == value) {
            printFull(story, finding, vcfg::monotonicUs());
            continue;
        }
        Way way;
        for (const Told& told : story.all()) {
            take(way, refusals, told, finding, value);
        }
        printWay(story, finding, way, value);
    }
    return status;
}

}  // namespace vcfgctl
