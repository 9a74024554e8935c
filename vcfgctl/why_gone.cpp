#include "why_gone.h"

#include <cstdio>
#include <map>
#include <string>

#include "client/deadline.h"
#include "instances.h"
#include "narrate.h"
#include "why_around.h"
#include "why_print.h"

namespace vcfgctl {
namespace {

constexpr uint32_t kDeleted = 1;

bool isOf(const Selection& selection, const Changed& changed) {
    Selection without{selection.object, selection.wanted, nullptr};
    return changed.object == selection.object && changed.parameter == nullptr &&
           without.fits(changed.iid, [](const auto&...) { return std::nullopt; });
}

// By path, the latest that became of each. One that is there again was added later.
std::map<std::string, const Told*> latestOf(const Story& story, const Selection& selection) {
    std::map<std::string, const Told*> latest;
    for (const Told& told : story.all()) {
        Changed changed{};
        if (toChanged(told, &changed) && isOf(selection, changed)) {
            latest[changed.path()] = &told;
        }
    }
    std::erase_if(latest, [](const auto& one) { return one.second->entry.numbers[3] != kDeleted; });
    return latest;
}

void explain(const Story& story, const std::string& path, const Told& deleted) {
    const int64_t nowUs = vcfg::monotonicUs();
    const std::vector<Link> chain = story.chainTo(deleted.entry.event);
    printf("%s is not there any more\n", path.c_str());
    printSince(story, chain, deleted.timeUs(), nowUs);
    printChain(story, chain, &deleted, nowUs);
    printAround(story, Surroundings(story, path), chain, deleted.timeUs(), Around::Troubles);
}

}  // namespace

bool explainGone(const Story& story, const Selection& selection) {
    objIndex iid{};
    if (selection.isOne(&iid) && isThere(selection)) {
        return false;
    }
    const std::map<std::string, const Told*> gone = latestOf(story, selection);
    for (const auto& [path, deleted] : gone) {
        explain(story, path, *deleted);
    }
    return !gone.empty();
}

}  // namespace vcfgctl
