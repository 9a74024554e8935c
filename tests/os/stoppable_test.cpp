// core/stoppable.cpp on the real operating system: threads, pauses, shells and what they start.
#include "core/stoppable.h"

#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <fstream>
#include <optional>
#include <string>
#include <thread>

namespace {

using os::Stoppable;

constexpr int64_t kForeverMs = INT64_MAX;

// A condition that comes true soon or, after a generous deadline, fails the test.
template <class Condition>
bool comesTrue(const Condition& condition) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline) {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return true;
}

std::string contentOf(const std::string& path) {
    std::ifstream file(path);
    return {std::istreambuf_iterator<char>(file), {}};
}

class StoppableThread : public testing::Test {
  protected:
    StoppableThread() {
        std::string name = testing::TempDir() + "stoppable-XXXXXX";
        folder = mkdtemp(name.data());
    }
    ~StoppableThread() override {
        for (const char* name : {"/pids", "/after"}) {
            unlink((folder + name).c_str());
        }
        rmdir(folder.c_str());
    }
    // A command that writes down its own and a child's process and then hangs.
    std::string hanging() const {
        return "sleep 1000 & echo $$ $! > " + folder + "/pids; wait; echo late > " + folder + "/after";
    }
    bool begun() const { return contentOf(folder + "/pids").find('\n') != std::string::npos; }
    bool allEnded() const {
        std::ifstream file(folder + "/pids");
        pid_t pid = 0;
        int running = 0;
        while (file >> pid) {
            running += isRunning(pid) ? 1 : 0;
        }
        return running == 0;
    }
    // What is dead may wait long for whoever has to bury it.
    static bool isRunning(pid_t pid) {
        std::ifstream file("/proc/" + std::to_string(pid) + "/stat");
        std::string number, name, state;
        return static_cast<bool>(file >> number >> name >> state) && state != "Z" && state != "X";
    }

    std::string folder;
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
    ASSERT_TRUE(comesTrue([&] { return begun(); }));
    thread.stop();
    body.join();
    EXPECT_FALSE(result.has_value());
    EXPECT_TRUE(comesTrue([&] { return allEnded(); }));
    EXPECT_NE(access((folder + "/after").c_str(), F_OK), 0);
}

TEST_F(StoppableThread, CommandThatIgnoresSignalsEndsToo) {
    Stoppable thread;
    std::thread body([&] { thread.run("trap '' TERM INT HUP; " + hanging()); });
    ASSERT_TRUE(comesTrue([&] { return begun(); }));
    thread.stop();
    body.join();
    EXPECT_TRUE(comesTrue([&] { return allEnded(); }));
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
