// The fail-over, explored to its end: from every state that link events lead to, every event, and the daemon has to do
// what the table says. Equal states are looked at once, so that this is every sequence of events, of any length.
#include <algorithm>
#include <cstdio>
#include <deque>
#include <unordered_map>

#include "failover_daemon.h"

namespace failover {
namespace {

constexpr int kEventsOfASequence = 8;
long allSteps = 0;  // under all settings

// How a state was reached first: by the fewest events.
struct Way {
    std::string from;
    Event by = Event::Look;
    int events = 0;
};

// The layers are told by threads of their own, whenever these come to it: what is done is compared in two parts.
Deeds inTwoParts(Deeds deeds) {
    std::stable_partition(deeds.begin(), deeds.end(), [](const std::string& deed) {
        return deed.find(".Link.") == std::string::npos && deed.find(".Interface.") == std::string::npos;
    });
    return deeds;
}

std::string joined(const Deeds& deeds) {
    std::string text;
    for (const std::string& deed : deeds) {
        text += "\n    " + deed;
    }
    return text;
}

class Exploration {
  public:
    explicit Exploration(const Setting& setting) : setting_(setting), daemon_(setting) {}

    void run() {
        reach(State{}, {}, 0, Event::Look);
        while (!open_.empty() && !testing::Test::HasFailure()) {
            const State state = open_.front();
            open_.pop_front();
            tryEvery(state);
        }
        print();
    }

  private:
    void reach(const State& state, const std::string& from, int events, Event by) {
        if (ways_.try_emplace(state.words(), Way{from, by, events}).second) {
            withinSequence_ += events <= kEventsOfASequence ? 1 : 0;
            longest_ = std::max(longest_, events);
            open_.push_back(state);
        }
    }

    void tryEvery(const State& state) {
        const std::string here = state.words();
        const int events = ways_[here].events;
        for (int number = 0; number < kEvents; ++number) {
            const auto event = static_cast<Event>(number);
            if (event == Event::AskedAgain && state.asked == 0) {
                continue;
            }
            reach(step(state, event), here, events + 1, event);
        }
    }

    State step(const State& state, Event event) {
        Deeds expected;
        const State next = after(setting_, state, event, expected);
        Deeds done;
        daemon_.put(state);
        const State became = daemon_.meet(event, done);
        steps_ += 1;
        allSteps += 1;
        EXPECT_EQ(became.words(), next.words()) << story(state, event);
        EXPECT_EQ(joined(inTwoParts(done)), joined(inTwoParts(expected))) << story(state, event);
        if (testing::Test::HasFailure() && !broken_) {
            broken_ = true;
            printf("BROKEN after %ld steps\n", allSteps);
        }
        return next;
    }

    std::string story(const State& state, Event last) {
        std::string text = std::string("and then ") + nameOf(last);
        for (std::string at = state.words(); ways_[at].events > 0; at = ways_[at].from) {
            text = nameOf(ways_[at].by) + std::string(",\n") + text;
        }
        return setting_.words() + ":\n" + text;
    }

    void print() const {
        printf("%s: %zu states (%d within %d events, the farthest after %d), %ld steps\n", setting_.words().c_str(),
               ways_.size(), withinSequence_, kEventsOfASequence, longest_, steps_);
    }

    Setting setting_;
    Daemon daemon_;
    std::unordered_map<std::string, Way> ways_;
    std::deque<State> open_;
    int withinSequence_ = 0;
    int longest_ = 0;
    long steps_ = 0;
    bool broken_ = false;
};

class Failover : public testing::TestWithParam<std::tuple<int, int>> {};

TEST_P(Failover, EverySequenceOfLinkEventsDoesWhatTheTableSays) {
    const auto [wanPriority, ethWanPriority] = GetParam();
    Exploration({wanPriority, ethWanPriority}).run();
}

// 10 is what the daemon has before its start-up has set 3; a 2 prefers neither port.
INSTANTIATE_TEST_SUITE_P(UnderEachPriority, Failover,
                         testing::Combine(testing::Values(2, 3, 8, 10), testing::Values(0, 1, 2)));

}  // namespace
}  // namespace failover
