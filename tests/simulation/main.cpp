// simulation: years of a gateway's life, a story at a time.
#include <getopt.h>

#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <optional>

#include "story_file.h"

namespace {

constexpr const char* kUsage = R"(usage: simulation [--seed N] [--events N | --hours H] [--length N]
       simulation --story SEED|FILE [--length N]

  --seed N       the first story's (1)
  --events N     stories until so many events have happened (100000)
  --hours H      stories until so much time has passed
  --length N     events of a story (200)
  --story        that story alone, which is printed first
)";

struct Options {
    uint64_t seed = 1;
    uint64_t events = 100'000;
    double hours = 0;
    size_t length = 200;
    const char* story = nullptr;
};

struct Sums {
    uint64_t stories = 0;
    uint64_t events = 0;
    uint64_t handled = 0;
    uint64_t faulty = 0;
    uint64_t lost = 0;

    void add(const sim::Outcome& outcome) {
        stories += 1;
        events += outcome.events;
        handled += outcome.handled;
        faulty += outcome.faulty ? 1 : 0;
        lost += outcome.lost ? 1 : 0;
    }
};

double secondsNow() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) / 1e9;
}

// Says what is broken, and by how little.
int fail(const sim::Story& story, const sim::Outcome& outcome) {
    printf("BROKEN: %s\n", outcome.violation.c_str());
    fflush(stdout);
    const sim::Story shorter = sim::shrink(story, outcome.violation);
    printf("The shortest story found that breaks this rule has %zu events:\n%s%s\n", shorter.events.size(),
           sim::fileText(shorter).c_str(), sim::tell(shorter).violation.c_str());
    return 1;
}

int tellOne(const Options& options) {
    char* end = nullptr;
    const uint64_t seed = strtoull(options.story, &end, 10);
    const auto story = *end == '\0' ? sim::storyOf(seed, options.length) : sim::readStory(options.story);
    if (!story) {
        fprintf(stderr, "simulation: %s is no story\n", options.story);
        return 2;
    }
    printf("%s", sim::fileText(*story).c_str());
    const sim::Outcome outcome = sim::tell(*story);
    return outcome.violation.empty() ? (puts("everything holds"), 0) : fail(*story, outcome);
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
        sums.add(outcome);
        if (!outcome.violation.empty()) {
            printf("after %" PRIu64 " events, in the story of seed %" PRIu64 "\n", sums.events, seed);
            return fail(story, outcome);
        }
    }
    printf("%" PRIu64 " stories, %" PRIu64 " events, of which the daemon heard %" PRIu64 " times, in %.1f s\n",
           sums.stories, sums.events, sums.handled, secondsNow() - since);
    printf("%" PRIu64 " stories with faults; %" PRIu64 " in which nobody saw a link's end\n", sums.faulty, sums.lost);
    return 0;
}

std::optional<Options> optionsOf(int argc, char** argv) {
    constexpr option kOptions[] = {
        {"seed", required_argument, nullptr, 's'},  {"events", required_argument, nullptr, 'e'},
        {"hours", required_argument, nullptr, 'h'}, {"length", required_argument, nullptr, 'l'},
        {"story", required_argument, nullptr, 't'}, {nullptr, 0, nullptr, 0}};
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
            case 'l':
                options.length = strtoull(optarg, nullptr, 10);
                break;
            case 't':
                options.story = optarg;
                break;
            default:
                return std::nullopt;
        }
    }
    return options;
}

}  // namespace

int main(int argc, char** argv) {
    const auto options = optionsOf(argc, argv);
    if (!options) {
        fputs(kUsage, stderr);
        return 2;
    }
    return options->story != nullptr ? tellOne(*options) : tellAll(*options);
}
