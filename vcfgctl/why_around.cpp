#include "why_around.h"

#include <cstdio>
#include <string_view>

#include "client/deadline.h"
#include "hook_runs.h"
#include "narrate.h"
#include "standing.h"
#include "why_print.h"

namespace vcfgctl {
namespace {

void printRemarks(const std::vector<Remark>& remarks, int64_t nowUs) {
    if (!remarks.empty()) {
        printf("\n  what it stands on, as it is now:\n\n");
    }
    for (const Remark& remark : remarks) {
        printf("  %12s  %s\n", remark.timeUs ? agoText(*remark.timeUs, nowUs).c_str() : "now", remark.text.c_str());
    }
}

// Else the parameter is as somebody wants it, and the system is not.
void printHookTrouble(const Story& story, const Surroundings& surroundings) {
    const Told* const trouble = surroundings.hookTrouble();
    if (trouble == nullptr) {
        return;
    }
    const int64_t nowUs = vcfg::monotonicUs();
    printf("\n  %s:\n\n", hookTroubleText(*trouble, nowUs).c_str());
    printChain(story, story.chainTo(trouble->entry.event), trouble->isBegin() ? nullptr : trouble, nowUs);
}

// Nobody tells the gateway whether a name server answers; only who has asked one knows.
void printNameServers(const Story& story, const Finding& finding) {
    if (!std::string_view(finding.parameter->name).starts_with("DNSServer")) {
        return;
    }
    std::string why;
    std::vector<Finding> results;
    findAll(story, select("DNS.Diagnostics.NSLookupDiagnostics.Result.*.Status", &why).front(), &results);
    puts("\n  whether a name server answers is not told to anybody; DNS.Diagnostics.NSLookupDiagnostics asks one:\n");
    for (const Finding& result : results) {
        const int64_t nowUs = vcfg::monotonicUs();
        printf("  %12s  %s is \"%s\"\n", result.isCurrent() ? agoText(result.change->timeUs(), nowUs).c_str() : "now",
               result.path().c_str(), result.value.c_str());
    }
    if (results.empty()) {
        printf("  %12s  it has not asked\n", "so far");
    }
}

}  // namespace

void printAround(const Story& story, const Surroundings& surroundings, const std::vector<Link>& chain, int64_t sinceUs,
                 Around which) {
    const int64_t nowUs = vcfg::monotonicUs();
    std::vector<const Told*> met = surroundings.metSince(sinceUs);
    std::erase_if(met, [&](const Told* told) {
        const bool isChain = !chain.empty() && chain.front().begin == told;
        return isChain || (which == Around::Troubles && !story.isTrouble(*told));
    });
    printMet(story, met, nowUs);
    printRemarks(remarksOn(story, surroundings, chain), nowUs);
}

void printAround(const Story& story, const Finding& finding) {
    const Surroundings surroundings(story, vcfg::model::path(*finding.object, finding.iid));
    const int64_t sinceUs = finding.change != nullptr ? finding.change->timeUs() : 0;
    printAround(story, surroundings, finding.chain, sinceUs, Around::Troubles);
    printHookTrouble(story, surroundings);
    printNameServers(story, finding);
    printUnsaved(story, finding);
}

void printUnsaved(const Story& story, const Finding& finding) {
    const Told* last = nullptr;
    for (const Told& told : story.all()) {
        const bool isNotice = told.field(0) == "trouble" || told.field(0) == "relief";
        last = isNotice && told.field(2).starts_with("the configuration ") ? &told : last;
    }
    if (finding.parameter->isPersistent() && last != nullptr && story.isTrouble(*last)) {
        printf("\n  a start anew does away with what is set now:\n\n  %12s  %s\n",
               agoText(last->timeUs(), vcfg::monotonicUs()).c_str(), sentenceOf(story, *last).c_str());
    }
}

}  // namespace vcfgctl
