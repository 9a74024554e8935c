// Every handler, with one call after the other that fails: the daemon serves on, the model is whole, and once the same
// event comes without a fault, all is as if there had been none.
#include <fcntl.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <set>
#include <utility>

#include "dispatch.h"
#include "events.h"
#include "house.h"
#include "injector.h"
#include "last_words.h"
#include "store/store.h"
#include "target.h"

// Of the furnished gateway: what it would report to a fuzzer.
void finding(const std::string& what) {
    ADD_FAILURE() << what;
    abort();
}

namespace {

using faults::Event;
using faults::Kind;
using faults::now;

// Faults that a group tries in a test run; TARN_FAULTS=all tries each.
constexpr uint32_t kShare = 700;
constexpr size_t kNone = SIZE_MAX;

size_t descriptors() {
    return static_cast<size_t>(
        std::distance(std::filesystem::directory_iterator("/proc/self/fd"), std::filesystem::directory_iterator{}));
}

struct Outcome {
    std::string model;
    bool isAnswered = false;
};

// The event with a fault in it, and once more without.
class Story {
  public:
    explicit Story(const Event& event) : event_(event) {
        house::furnish(gateway_);
        pieces_ = faults::piecesInUse();
    }
    // What is in use before the event.
    int64_t pieces() const { return pieces_; }

    uint32_t happens(Kind kind, uint32_t number) {
        faults::arm(kind, number);
        try {
            happensBut(kNone);
        } catch (...) {
            faults::disarm();
            ADD_FAILURE() << "an exception has left the event";
        }
        return faults::disarm();
    }

    void happensBut(size_t without) {
        for (size_t step = 0; step < event_.steps.size(); ++step) {
            if (step != without) {
                event_.steps[step](gateway_);
            }
        }
    }

    // What the fault kept from being received or run comes now.
    Outcome happensAgain() {
        processRequest();
        gateway_.runThreads();
        happensBut(kNone);
        return {inproc::text(), isAnswered()};
    }

  private:
    bool isAnswered() {
        constexpr uint32_t kQuestion = 4711;
        gateway_.forget();
        gateway_.receiveEmpty(VCFG_MSG_FAKEROOT_SYS_COMMAND, {VCFG_EID_VHTTPD, kQuestion});
        const auto replies = gateway_.replies();
        return replies.size() == 1 && replies[0].requestId == kQuestion;
    }

    Gateway gateway_;
    const Event& event_;
    int64_t pieces_ = 0;
};

class Faults : public testing::TestWithParam<size_t> {
  protected:
    static void SetUpTestSuite() { faults::dieWithLastWords(); }

    static const faults::Group& group() { return faults::groups()[GetParam()]; }

    static uint32_t callsIn(const Event& event, Kind kind) {
        Story story(event);
        return story.happens(kind, 0);
    }

    // What the model may be: as if the event had come once or twice, or one of its messages had been lost.
    static std::set<std::string> statesBehind(const Event& event) {
        std::set<std::string> states;
        for (size_t lost = 0; lost <= event.steps.size(); ++lost) {
            Story story(event);
            story.happensBut(lost);
            states.insert(inproc::text());
            states.insert(story.happensAgain().model);
        }
        return states;
    }

    static void failEach(const Event& event, Kind kind, uint32_t every) {
        const uint32_t calls = callsIn(event, kind);
        const std::set<std::string> states = statesBehind(event);
        const size_t open = descriptors();
        for (uint32_t number = 1; number <= calls && !HasFailure(); number += every) {
            snprintf(now, sizeof now, "%s: %s with %s fault %u\n", group().name.c_str(), event.name.c_str(),
                     faults::nameOf(kind), number);
            fail(event, kind, number, states);
            EXPECT_FALSE(grows(event, [&] { fail(event, kind, number, states); })) << now;
            EXPECT_EQ(descriptors(), open) << now;
        }
    }

    // What is made once, and kept, is not made again.
    template <class Happen>
    static bool grows(const Event& event, const Happen& again) {
        static int64_t before = 0;
        for (int round = 0; round < 3; ++round) {
            const int64_t pieces = Story(event).pieces();
            if (std::exchange(before, pieces) >= pieces) {
                return false;
            }
            again();
        }
        return true;
    }

    static void fail(const Event& event, Kind kind, uint32_t number, const std::set<std::string>& states) {
        Story story(event);
        story.happens(kind, number);
        const Outcome outcome = story.happensAgain();
        EXPECT_TRUE(outcome.isAnswered) << now;
        if (states.count(outcome.model) == 0) {
            EXPECT_TRUE(mayEndOtherwise(kind)) << now << "the model is another";
            EXPECT_TRUE(isWhole(outcome.model)) << now;
            keepForAPerson(*states.begin(), outcome.model);
        }
        if (HasFailure()) {
            faults::tellWhere(STDERR_FILENO);
        }
    }

    // A walk through the model that is refused is one that has found nothing, and what is missing is added; a write
    // that is refused is told and not tried again. A client that has taken its lease only renews it, and a setup that
    // could not be begun says so in the model.
    static bool mayEndOtherwise(Kind kind) {
        return kind == Kind::Framework || group().name == "payload_dhcpc" || group().name == "payload_wps";
    }

    static bool isWhole(const std::string& model) {
        using namespace vcfg::store;
        return Store().fromText(model, What::All, Unknown::Refuse, nullptr, nullptr) == VCFG_OK;
    }

    static void keepForAPerson(const std::string& without, const std::string& with) {
        if (const char* const folder = getenv("TARN_FAULTS_KEEP"); folder != nullptr) {
            std::ofstream(std::string(folder) + "/without") << without;
            std::ofstream(std::string(folder) + "/with") << with;
        }
    }

    void failAll(Kind kind) {
        uint32_t calls = 0;
        for (const Event& event : group().events) {
            calls += callsIn(event, kind);
        }
        const bool all = getenv("TARN_FAULTS") != nullptr;
        const uint32_t every = all ? 1 : 1 + calls / kShare;
        for (const Event& event : group().events) {
            failEach(event, kind, every);
        }
        printf("%s: %u of %u %s calls have failed\n", group().name.c_str(), (calls + every - 1) / every, calls,
               faults::nameOf(kind));
    }
};

TEST_P(Faults, DaemonServesOnWhenMemoryEnds) {
    failAll(Kind::Memory);
}

TEST_P(Faults, DaemonServesOnWhenTheFrameworkRefuses) {
    failAll(Kind::Framework);
}

TEST_P(Faults, DaemonServesOnWhenTheSystemRefuses) {
    failAll(Kind::System);
}

INSTANTIATE_TEST_SUITE_P(Each, Faults, testing::Range(size_t{0}, faults::groups().size()),
                         [](const auto& parameter) { return faults::groups()[parameter.param].name; });

}  // namespace
