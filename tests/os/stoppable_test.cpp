// core/stoppable.cpp on the real operating system: threads, pauses, shells and what they start.
#include "core/stoppable.h"

#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <optional>
#include <string>
#include <thread>

#include "support/processes.h"

namespace {

using os::Stoppable;

constexpr int64_t kForeverMs = INT64_MAX;

class StoppableThread : public ProcessTest {
  protected:
    // A command that writes down its own and a child's process and then hangs.
    std::string hanging() const {
        return "sleep 1000 & echo $$ $! > " + list() + "; wait; echo late > " + folder + "/after";
    }
};

TEST_F(StoppableThread, PausesAndRunsUntilItIsStopped) {
    Stoppable thread;
    EXPECT_FALSE(thread.stopped());
    EXPECT_TRUE(thread.pauseMs(1));
    EXPECT_EQ(thread.run("exit 0"), 0);
    EXPECT_EQ(thread.run("exit 3"), 3 << 8);
}

TEST_F(StoppableThread, PauseEndsWithTheStop) {
    Stoppable thread;
    std::optional<bool> wentOn;
    std::thread body([&] { wentOn = thread.pauseMs(kForeverMs); });
    thread.stop();
    body.join();
    EXPECT_EQ(wentOn, false);
}

TEST_F(StoppableThread, CommandEndsWithTheStopAndAllThatItStarted) {
    Stoppable thread;
    std::optional<int> result = 0;
    std::thread body([&] { result = thread.run(hanging()); });
    ASSERT_TRUE(comesTrue([&] { return anyBegun(); }));
    thread.stop();
    body.join();
    EXPECT_FALSE(result.has_value());
    EXPECT_TRUE(comesTrue([&] { return running() == 0; }));
    EXPECT_NE(access((folder + "/after").c_str(), F_OK), 0);
}

TEST_F(StoppableThread, CommandThatIgnoresSignalsEndsToo) {
    Stoppable thread;
    std::thread body([&] { thread.run("trap '' TERM INT HUP; " + hanging()); });
    ASSERT_TRUE(comesTrue([&] { return anyBegun(); }));
    thread.stop();
    body.join();
    EXPECT_TRUE(comesTrue([&] { return running() == 0; }));
}

TEST_F(StoppableThread, NothingBeginsAfterTheStop) {
    Stoppable thread;
    thread.stop();
    EXPECT_FALSE(thread.pauseMs(kForeverMs));
    EXPECT_FALSE(thread.run("echo late > " + folder + "/after").has_value());
    EXPECT_NE(access((folder + "/after").c_str(), F_OK), 0);
}

TEST_F(StoppableThread, StopAtAnyMomentLeavesNoCommandBehind) {
    for (int round = 0; round < 100; ++round) {
        Stoppable thread;
        std::thread body([&] {
            while (thread.run("true").has_value()) {
            }
        });
        std::this_thread::sleep_for(std::chrono::microseconds(37 * round));
        thread.stop();
        body.join();
    }
    EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1);
}

TEST_F(StoppableThread, StopOfOneLeavesAnotherAlone) {
    Stoppable first;
    Stoppable second;
    first.stop();
    EXPECT_EQ(second.run("exit 0"), 0);
    EXPECT_TRUE(second.pauseMs(0));
}

}  // namespace
