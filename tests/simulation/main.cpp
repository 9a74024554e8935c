// simulation: years of a gateway's life, a story at a time.
#include <getopt.h>
#include <malloc.h>

#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <optional>

#include "story.h"

namespace {

constexpr const char* kUsage = R"(usage: simulation [--seed N] [--events N] [--hours H] [--story SEED] [--length N]

  --seed N     the first story's (1)
  --events N   until so many have happened (100000)
  --hours H    until so much time has passed, instead
  --story SEED tells that story alone, and prints it
  --length N   events of a story (200)
)";

struct Options {
    uint64_t seed = 1;
    uint64_t events = 100'000;
    double hours = 0;
    std::optional<uint64_t> story;
    size_t length = 200;
};

struct Sums {
    uint64_t stories = 0;
    uint64_t events = 0;
    uint64_t handled = 0;
    uint64_t faulty = 0;
    uint64_t lost = 0;
};

double secondsNow() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) / 1e9;
}

size_t bytesInUse() {
    return mallinfo2().uordblks;
}

int fail(const sim::Story& story, const sim::Outcome& outcome) {
    printf("BROKEN after %zu events: %s\n", outcome.events, outcome.violation.c_str());
    const sim::Story shorter = sim::shrink(story, outcome.violation);
    printf("the same rule is broken by this story of %zu events:\n%s", shorter.events.size(),
           sim::wordsOf(shorter).c_str());
    printf("%s\n", sim::tell(shorter).violation.c_str());
    return 1;
}

int tellOne(const Options& options) {
    const sim::Story story = sim::storyOf(*options.story, options.length);
    printf("%s", sim::wordsOf(story).c_str());
    const sim::Outcome outcome = sim::tell(story);
    return outcome.violation.empty() ? (printf("everything holds\n"), 0) : fail(story, outcome);
}

int tellAll(const Options& options) {
    const double since = secondsNow();
    Sums sums;
    const auto goesOn = [&] {
        return options.hours > 0 ? secondsNow() - since < options.hours * 3600 : sums.events < options.events;
    };
    for (uint64_t seed = options.seed; goesOn(); ++seed) {
        const sim::Story story = sim::storyOf(seed, options.length);
        const sim::Outcome outcome = sim::tell(story);
        sums.stories += 1;
        sums.events += outcome.events;
        sums.handled += outcome.handled;
        sums.faulty += outcome.faulty ? 1 : 0;
        sums.lost += outcome.lost ? 1 : 0;
        if (!outcome.violation.empty()) {
            printf("after %" PRIu64 " events, in the story of seed %" PRIu64 "\n", sums.events, seed);
            return fail(story, outcome);
        }
        if (getenv("SIM_MEMORY") != nullptr) {
            printf("%zu\n", bytesInUse());
        }
    }
    const double took = secondsNow() - since;
    printf("%" PRIu64 " stories, %" PRIu64 " events, after which the daemon handled %" PRIu64
           " in %.1f s (%.1f us each)\n",
           sums.stories, sums.events, sums.handled, took, took * 1e6 / static_cast<double>(sums.handled));
    printf("%" PRIu64 " stories with faults, %" PRIu64 " in which a link's end may have been lost\n", sums.faulty,
           sums.lost);
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    constexpr option kOptions[] = {
        {"seed", required_argument, nullptr, 's'},   {"events", required_argument, nullptr, 'e'},
        {"hours", required_argument, nullptr, 'h'},  {"story", required_argument, nullptr, 't'},
        {"length", required_argument, nullptr, 'l'}, {nullptr, 0, nullptr, 0}};
    Options options;
    for (int chosen = 0; (chosen = getopt_long(argc, argv, "", kOptions, nullptr)) != -1;) {
        switch (chosen) {
            case 's':
                options.seed = strtoull(optarg, nullptr, 10);
                break;
            case 'e':
                options.events = strtoull(optarg, nullptr, 10);
                break;
            case 'h':
                options.hours = strtod(optarg, nullptr);
                break;
            case 't':
                options.story = strtoull(optarg, nullptr, 10);
                break;
            case 'l':
                options.length = strtoull(optarg, nullptr, 10);
                break;
            default:
                fputs(kUsage, stderr);
                return 2;
        }
    }
    return options.story ? tellOne(options) : tellAll(options);
}
