// The daemon's start, as a process of its own beside a real vcmd: one call after the other fails. It serves all the
// same, or says so and ends with its status.
#include <cstdlib>

#include "daemon_world.h"
#include "injector.h"

namespace {

using faults::Kind;

constexpr int kFailed = 255;  // -1, as the shell sees it
// In a test run; TARN_FAULTS=all fails each call.
constexpr uint32_t kEvery = 3;
constexpr const char* kStruck = "the call fails";
constexpr uint32_t kOneAskMs = 1000;  // the question may be what finds no memory

class StartFaults : public testing::TestWithParam<Kind> {
  protected:
    StartFaults() { bus.start(); }

    // Whether the call with that number came before the daemon was at rest.
    bool failOne(uint32_t number) const {
        const std::string fault = faults::nameOf(GetParam()) + (" " + std::to_string(number));
        Daemon daemon(bus, fault, fault);
        const bool settled = eventually([&] { return !daemon.runs() || serves(daemon); });
        const bool struck = daemon.logged(kStruck) > 0;
        EXPECT_TRUE(settled && (daemon.runs() || (struck && hasSaidWhy(daemon)))) << bus.file(fault + ".log");
        return struck;
    }

    static bool serves(const Daemon& daemon) {
        return daemon.logged("timer_thread: thread starts") + daemon.logged(kStruck) > 0 &&
               askDaemon(VCFG_EID_TARN, kOneAskMs) == VCFG_OK;
    }

    static bool hasSaidWhy(Daemon& daemon) {
        const size_t lines = daemon.logged("fail to init TARN") + daemon.logged("fail to initialize TARN");
        return daemon.awaitEnd() == kFailed && lines == 1;
    }

    Vcmd bus;
};

TEST_P(StartFaults, DaemonServesOrSaysWhyNot) {
    const uint32_t every = getenv("TARN_FAULTS") != nullptr ? 1 : kEvery;
    uint32_t failed = 0;
    while (failOne(1 + failed * every) && !HasFailure()) {
        ++failed;
    }
    EXPECT_GT(failed, 0u);
    printf("start: %u of %u %s calls have failed\n", failed, failed * every, faults::nameOf(GetParam()));
}

INSTANTIATE_TEST_SUITE_P(Each, StartFaults, testing::Values(Kind::Memory, Kind::Framework, Kind::System),
                         [](const auto& parameter) { return std::string(faults::nameOf(parameter.param)); });

}  // namespace
