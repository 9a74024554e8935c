// The daemon's start, and what it does without the parts of it that failed.
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <utility>

#include "core/timer.h"
#include "daemon_world.h"

namespace {

constexpr int kFailed = 255;  // -1, as the shell sees it

class DaemonStart : public testing::Test {
  protected:
    static bool answers(uint8_t eid) {
        return eventually([eid] { return askDaemon(eid) == VCFG_OK; });
    }
    Vcmd bus;
};

// What the program says to the words, and its exit status.
std::pair<std::string, int> saidTo(const std::string& words) {
    FILE* const program = popen((TARN_PATH " " + words + " 2>&1").c_str(), "re");
    std::string said;
    for (int character = fgetc(program); character != EOF; character = fgetc(program)) {
        said += static_cast<char>(character);
    }
    const int status = pclose(program);
    return {said, WIFEXITED(status) ? WEXITSTATUS(status) : -1};
}

TEST(DaemonWords, HelpAndVersionAreToldAndNothingIsStarted) {
    EXPECT_EQ(saidTo("--help").second, 0);
    EXPECT_NE(saidTo("--help").first.find("usage: tarn"), std::string::npos);
    EXPECT_EQ(saidTo("--version"), (std::pair<std::string, int>{"tarn " TARN_VERSION "\n", 0}));
}

TEST(DaemonWords, WhatItDoesNotKnowIsRefusedWithTheUsage) {
    for (const char* const words : {"--no-such-option", "word", "--foreground word"}) {
        const auto [said, status] = saidTo(words);
        EXPECT_EQ(status, 2) << words;
        EXPECT_NE(said.find("usage: tarn"), std::string::npos) << words;
    }
}

TEST_F(DaemonStart, ServesBothEndpoints) {
    const Daemon daemon(bus);
    EXPECT_TRUE(answers(VCFG_EID_TARN));
    EXPECT_TRUE(answers(VCFG_EID_TARN_GROUND));
}

TEST_F(DaemonStart, ItsStarterEndsAndItGoesOn) {
    const pid_t starter = fork();
    if (starter == 0) {
        setpgid(0, 0);
        setenv("TARN_ASKED", bus.path("tarn.asked").c_str(), 1);
        static_cast<void>(!freopen(bus.path("tarn.log").c_str(), "w", stdout));
        execl(TARN_PATH, "tarn", nullptr);
        _exit(127);
    }
    int status = -1;
    EXPECT_TRUE(eventually([&] { return waitpid(starter, &status, WNOHANG) == starter; }));
    EXPECT_EQ(status, 0);
    EXPECT_TRUE(answers(VCFG_EID_TARN));
    kill(-starter, SIGKILL);
    EXPECT_TRUE(eventually([] { return askDaemon(VCFG_EID_TARN) == VCFG_ERR_NO_PEER; }))
        << "it holds the timer's socket";
}

TEST_F(DaemonStart, TimerSendsItTheMessagesOfItsTasks) {
    const Daemon daemon(bus);
    EXPECT_TRUE(answers(VCFG_EID_TARN));
    constexpr auto kCompletion = static_cast<int32_t>(VCFG_MSG_INIT_DATAMODEL_FIN);
    // What the one before has left of its socket may take the first ones.
    EXPECT_TRUE(eventually([&] {
        const auto asked = daemon.asked();
        return std::find(asked.begin(), asked.end(), "/etc/init.d/mcpd.sh reload") != asked.end() ||
               tarnApplyAddObjectTmTask("test", 1, kCompletion, nullptr) == 0;
    }));
}

TEST_F(DaemonStart, GoesInItsOrder) {
    const Daemon daemon(bus);
    EXPECT_TRUE(answers(VCFG_EID_TARN_GROUND));
    EXPECT_TRUE(daemon.says("TARN Start"));
    EXPECT_TRUE(daemon.says("TARN msg server init..."));
    EXPECT_TRUE(daemon.says("[TARN] Initial kernel monitor ..."));
    EXPECT_TRUE(daemon.says("TARN usr config thread starts"));
    EXPECT_TRUE(daemon.says("TARN ground thread starts"));
    EXPECT_TRUE(daemon.asksFor("scheduler of 0: SCHED_RR 5"));
    EXPECT_EQ(daemon.logged("fail to"), 0u);
    EXPECT_EQ(daemon.asked().at(0), "echo " + std::to_string(daemon.pid()) + " > /proc/kmonitor/user_pid");
}

TEST_F(DaemonStart, WithoutServerSocketFails) {
    Daemon daemon(bus, "server");
    EXPECT_EQ(daemon.awaitEnd(), kFailed);
    EXPECT_EQ(daemon.logged("TARN messsage server init fail!!"), 1u);
    EXPECT_EQ(daemon.logged("fail to init TARN"), 1u);
}

TEST_F(DaemonStart, WithoutUsrConfigThreadFails) {
    Daemon daemon(bus, "first thread");
    EXPECT_EQ(daemon.awaitEnd(), kFailed);
    EXPECT_EQ(daemon.logged("fail to create usr config thread"), 1u);
    EXPECT_EQ(daemon.logged("fail to initialize TARN, exit TARN process"), 1u);
}

TEST_F(DaemonStart, WithoutGroundThreadFails) {
    Daemon daemon(bus, "second thread");
    EXPECT_EQ(daemon.awaitEnd(), kFailed);
    EXPECT_EQ(daemon.logged("fail to create ground thread"), 1u);
    EXPECT_EQ(daemon.logged("fail to initialize TARN, exit TARN process"), 1u);
}

TEST_F(DaemonStart, WithoutTimerThreadGoesOn) {
    const Daemon daemon(bus, "third thread");
    EXPECT_TRUE(daemon.says("fail to create TARN timer thread"));
    EXPECT_TRUE(answers(VCFG_EID_TARN));
    EXPECT_TRUE(answers(VCFG_EID_TARN_GROUND));
}

TEST_F(DaemonStart, GroundEndpointThatFailsEndsItsThreadOnly) {
    const Daemon daemon(bus, "ground endpoint");
    EXPECT_TRUE(daemon.says("fail to init VCFG_EID_TARN_GROUND"));
    EXPECT_TRUE(answers(VCFG_EID_TARN));
    EXPECT_EQ(askDaemon(VCFG_EID_TARN_GROUND), VCFG_ERR_NO_PEER);
}

TEST_F(DaemonStart, GroundServerThatFailsEndsItsThreadOnly) {
    const Daemon daemon(bus, "ground server");
    EXPECT_TRUE(daemon.says("fail to init server socket"));
    EXPECT_TRUE(answers(VCFG_EID_TARN));
    EXPECT_EQ(askDaemon(VCFG_EID_TARN_GROUND), VCFG_ERR_NO_PEER);
}

TEST_F(DaemonStart, WithoutRealTimePriorityGoesOn) {
    const Daemon daemon(bus, "scheduler");
    EXPECT_TRUE(daemon.says("Failed to make tarn as realtime process"));
    EXPECT_TRUE(answers(VCFG_EID_TARN));
}

TEST_F(DaemonStart, WithoutKernelSocketServesTheBus) {
    const Daemon daemon(bus, "socket");
    EXPECT_TRUE(daemon.says("Could not open netlink socket for kernel monitor"));
    EXPECT_TRUE(answers(VCFG_EID_TARN));
    EXPECT_TRUE(answers(VCFG_EID_TARN_GROUND));
    EXPECT_EQ(daemon.logged("kernelFd="), 0u);
    for (const std::string& command : daemon.asked()) {
        EXPECT_EQ(command.find("user_pid"), std::string::npos);
    }
}

TEST_F(DaemonStart, WithUnboundKernelSocketServesTheBus) {
    const Daemon daemon(bus, "bind");
    EXPECT_TRUE(daemon.says("Could not bind netlink socket for kernel monitor"));
    EXPECT_TRUE(daemon.says("kernelFd="));
    EXPECT_TRUE(answers(VCFG_EID_TARN));
    EXPECT_TRUE(daemon.runs());
}

TEST_F(DaemonStart, SecondDaemonGetsTheKernelsEvents) {
    const Daemon first(bus);
    EXPECT_TRUE(answers(VCFG_EID_TARN_GROUND));
    const Daemon second(bus, "", "second");
    EXPECT_TRUE(second.asksFor("echo " + std::to_string(second.pid()) + " > /proc/kmonitor/user_pid"));
    second.kernelSays("eth0.2:up:100:F");
    EXPECT_TRUE(second.says("receiving Kernel event !!"));
    EXPECT_EQ(first.logged("receiving Kernel event !!"), 0u);
    EXPECT_TRUE(answers(VCFG_EID_TARN));
    EXPECT_TRUE(first.runs());
}

// A signal that comes to a thread while that starts ends a process under the thread sanitizer.
TEST_F(DaemonStart, FaultHandlerPrintsItsRedLineAndReturns) {
    const Daemon daemon(bus);
    EXPECT_TRUE(answers(VCFG_EID_TARN));
    EXPECT_TRUE(answers(VCFG_EID_TARN_GROUND));
    EXPECT_TRUE(daemon.says("timer_thread: thread starts"));
    EXPECT_TRUE(daemon.asksFor("scheduler of 0: SCHED_RR 5"));
    kill(daemon.pid(), SIGSEGV);
    EXPECT_TRUE(daemon.says("\033[0;32;31mTARN Invalid memory segment access!!!!!!!!!!\033[0m"));
    EXPECT_TRUE(answers(VCFG_EID_TARN));
}

TEST_F(DaemonStart, InterruptIsIgnored) {
    const Daemon daemon(bus);
    EXPECT_TRUE(answers(VCFG_EID_TARN));
    kill(daemon.pid(), SIGINT);
    EXPECT_TRUE(answers(VCFG_EID_TARN));
    EXPECT_TRUE(daemon.runs());
}

TEST_F(DaemonStart, CommandsInheritNoSocketOfTheDaemon) {
    const Daemon daemon(bus);
    EXPECT_TRUE(answers(VCFG_EID_TARN_GROUND));
    const std::string seen = bus.path("descriptors").string();
    tellDaemon(VCFG_EID_TARN, VCFG_MSG_FAKEROOT_SHELL_COMMAND,
               "ls -l /proc/self/fd > " + seen + "; echo done >> " + seen);
    EXPECT_TRUE(eventually([this] { return bus.file("descriptors").find("done") != std::string::npos; }));
    EXPECT_EQ(bus.file("descriptors").find("socket:"), std::string::npos) << bus.file("descriptors");
    EXPECT_EQ(bus.file("descriptors").find("eventpoll"), std::string::npos);
}

}  // namespace
