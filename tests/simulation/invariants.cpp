#include "invariants.h"

#include <iterator>

#include "hardware.h"
#include "peers.h"

namespace sim {
namespace {

constexpr size_t kMostThreads = kOwnThreads + 1 + size_t{5} * 32;  // the system log's, and 32 walks of each link

bool strict() {
    return !world().faulty;
}
// An end that nobody has seen leaves what it should have cleared.
bool nothingLost() {
    return strict() && !world().everLost;
}

struct Rule {
    const char* name;
    bool (*holds)();
};

// clang-format off
constexpr Rule kAlways[] = {
    {"ThreadsStayFew",                           [] { return fibers::count() <= kMostThreads; }},
    {"TheTwoLedsAreNeverLitTogether",            [] { return !strict() || !(world().ledRed && world().ledGreen); }},
};

constexpr Rule kAtRest[] = {
    {"NoThreadIsLeftBehind",                     [] { return fibers::count() == kOwnThreads; }},
    {"EveryMessageIsServed",                     [] { return everyMessageIsServed(); }},
    {"NoTaskIsLeftInTheTimer",                   [] { return !strict() || world().timer.tasks.empty(); }},
    {"EachLinkIsTakenForWhatItIs",               [] { return eachLinkIsTakenForWhatItIs(); }},
    {"EachPortShowsItsCable",                    [] { return eachPortShowsItsCable(); }},
    {"EachLayerIsUpWhenItsLinkIs",               [] { return !strict() || eachLayerIsUpWhenItsLinkIs(); }},
    {"EachLayerIsDownWhenItsLinkIs",             [] { return !strict() || eachLayerIsDownWhenItsLinkIs(); }},
    {"NoAddressIsEnabledOnALinkThatIsDown",      [] { return !strict() || noAddressIsEnabledOnALinkThatIsDown(); }},
    {"TheLinkFlagsSayWhatLinksThereAre",         [] { return !nothingLost() || linkFlagsAreRight(); }},
    {"TheLedSaysWhatLinksAndAddressesAre",       [] { return !strict() || ledIsRight(); }},
    {"WhoAsksIsAnswered",                        [] { return !strict() || whoAsksIsAnswered(); }},
};
// clang-format on

template <size_t N>
void check(const Rule (&rules)[N]) {
    for (const Rule& rule : rules) {
        if (world().violation.empty() && !rule.holds()) {
            broken(rule.name, whatIsThere());
        }
    }
}

}  // namespace

void checkAlways() {
    check(kAlways);
}

void checkAtRest() {
    check(kAtRest);
}

}  // namespace sim
