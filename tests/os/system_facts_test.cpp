// What core/os.cpp says of the real operating system.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <fstream>

#include "core/os.h"

namespace {

uint32_t secondsSinceBoot() {
    double seconds = 0;
    std::ifstream("/proc/uptime") >> seconds;
    return static_cast<uint32_t>(seconds);
}

TEST(SystemFacts, UptimeCountsTheSecondsSinceTheBoot) {
    const uint32_t before = secondsSinceBoot();
    const std::optional<uint32_t> uptime = os::uptimeSeconds();
    const uint32_t after = secondsSinceBoot();
    ASSERT_TRUE(uptime.has_value());
    EXPECT_GE(*uptime, before);
    EXPECT_LE(*uptime, after + 1);
}

TEST(SystemFacts, SleepLastsItsTimeAndEnds) {
    const auto start = std::chrono::steady_clock::now();
    os::sleepMs(20);
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(20));
}

TEST(SystemFacts, SignalReachesTheProcessThatIsThere) {
    EXPECT_EQ(os::signalProcess(os::ownProcess(), 0), 0);
    const pid_t child = fork();
    if (child == 0) {
        pause();
    }
    EXPECT_EQ(os::signalProcess(child, SIGTERM), 0);
    int status = 0;
    waitpid(child, &status, 0);
    EXPECT_EQ(WTERMSIG(status), SIGTERM);
    EXPECT_EQ(os::signalProcess(child, 0), -1);
    EXPECT_EQ(errno, ESRCH);
}

}  // namespace
