// The thread that fetches and runs the operator's debug script.
#include <syslog.h>

#include <stdexcept>

#include "core/system_log.h"

#include "core/event.h"
#include "core/wan_state.h"
#include "support/kit.h"
#include "support/short_memory.h"

namespace {

using Commands = std::vector<std::string>;
using Pauses = std::vector<int64_t>;

constexpr const char* kScript = "/tmp/systemDebug.sh";
const std::string kFetch = "ftpget -u op -p secret 192.0.2.21 /tmp/systemDebug.sh systemDebug.sh";
const std::string kMode = "chmod 777 /tmp/systemDebug.sh";
const std::string kRun = "/tmp/systemDebug.sh SN-1 192.0.2.21";
constexpr const char* kCreated = "[TARN] SystemLogThreadHandle:System log pthread create";
constexpr const char* kRestarted = "[TARN] SystemLogThreadHandle:System pthread restart";
constexpr const char* kStopped = "[TARN] SystemLogThreadHandle: Stop System log thread";

class SystemLogTest : public testing::Test {
  protected:
    SystemLogTest() {
        gw.set("X_VORAN_SystemDebug.Server", "192.0.2.21");
        gw.set("X_VORAN_SystemDebug.Interval", "5");
        gw.set("X_VORAN_SystemDebug.UserName", "op");
        gw.set("X_VORAN_SystemDebug.Password", "secret");
        gw.set("DeviceInfo.SerialNumber", "SN-1");
        gw.file(kScript, "#!/bin/sh\n");
        wan.wanInternetUp = 1;
        gw.forget();
    }
    void start() { gw.receiveEmpty(VCFG_MSG_SYSTEM_LOG_START); }
    void stop() { gw.receiveEmpty(VCFG_MSG_SYSTEM_LOG_STOP); }
    // Starts the thread and lets it run until it is in its n-th pause.
    void runUntilPause(size_t number) {
        gw.duringPause(number, [this] { stop(); });
        start();
        gw.runThreads();
    }
    void stopDuring(const std::string& command) {
        gw.duringCommand(command, [this] { stop(); });
        start();
        gw.runThreads();
    }

    Gateway gw;
};

class SystemLogThread : public SystemLogTest {};
class DebugScript : public SystemLogTest {};
class SystemLogStopped : public SystemLogTest {};
class SystemLogSettings : public SystemLogTest {};

TEST_F(SystemLogThread, StartCreatesIt) {
    start();
    EXPECT_TRUE(gw.logged("stdout", kCreated));
}

TEST_F(SystemLogThread, StartWhileItRunsRestartsIt) {
    start();
    start();
    EXPECT_TRUE(gw.logged("stdout", kRestarted));
    gw.duringPause(1, [this] { stop(); });
    gw.runThreads();
    EXPECT_EQ(gw.pauses().size(), 1u);  // the first one never began
}

TEST_F(SystemLogThread, StopEndsIt) {
    start();
    stop();
    EXPECT_TRUE(gw.logged("stdout", kStopped));
    gw.runThreads();
    EXPECT_TRUE(gw.pauses().empty());
}

TEST_F(SystemLogThread, StopWhileNoneRunsDoesNothing) {
    stop();
    EXPECT_FALSE(gw.loggedContaining("TARN"));
    start();
    stop();
    gw.forget();
    stop();
    EXPECT_FALSE(gw.loggedContaining("TARN"));
}

TEST_F(SystemLogThread, StopEndsItAlsoWhenMemoryEndedDuringItsStart) {
    gw.duringPause(1, [] { throw std::runtime_error("it still runs"); });
    for (int after = 0; after < 20; ++after) {
        short_memory::failOneNew(after);
        handleEvent("start", [] { SystemLogThreadHandle(1); });
        short_memory::allNewsSucceed();
        stop();
        gw.runThreads();
        ASSERT_TRUE(gw.pauses().empty()) << after;
    }
}

TEST_F(SystemLogThread, FailedStartIsToldAndLeavesNoneRunning) {
    gw.refuseThreads();
    start();
    EXPECT_TRUE(gw.logged("stdout", "SystemLogThreadHandle:System log pthread create fail"));
    gw.refuseThreads(false);
    start();
    EXPECT_TRUE(gw.logged("stdout", kCreated));
}

TEST_F(SystemLogThread, FailedRestartIsToldAndStillCountsAsRunning) {
    start();
    gw.refuseThreads();
    start();
    EXPECT_TRUE(gw.logged("stdout", "SystemLogThreadHandle: System log pthread restart fail"));
    gw.refuseThreads(false);
    gw.runThreads();
    EXPECT_TRUE(gw.pauses().empty());  // the old thread is ended all the same
    stop();
    EXPECT_TRUE(gw.logged("stdout", kStopped));
}

TEST_F(SystemLogThread, ThatCouldNotReadItsSettingsStillCountsAsRunning) {
    gw.refuseWrite(inproc::Operation::Get, "X_VORAN_SystemDebug");
    start();
    gw.runThreads();
    EXPECT_TRUE(gw.logged("stdout", "periodic_send_log_thread: Get RDM_OID_SYSTEM_DEBUG obj fail!"));
    EXPECT_TRUE(gw.commands().empty());
    start();
    EXPECT_TRUE(gw.logged("stdout", kRestarted));
}

TEST_F(DebugScript, IsFetchedAndRunAfterEachPeriod) {
    runUntilPause(3);
    EXPECT_EQ(gw.commands(), (Commands{kFetch, kMode, kRun, kFetch, kMode, kRun}));
    EXPECT_EQ(gw.pauses(), (Pauses{300'000, 300'000, 300'000}));
}

TEST_F(DebugScript, WaitsForTheInternetByWholePeriods) {
    wan.wanInternetUp = 0;
    gw.duringPause(2, [] { wan.wanInternetUp = 1; });
    gw.duringCommand(kRun, [] { wan.wanInternetUp = 0; });
    runUntilPause(4);
    EXPECT_EQ(gw.commands(), (Commands{kFetch, kMode, kRun}));
    EXPECT_EQ(gw.pauses(), (Pauses{300'000, 300'000, 300'000, 300'000}));
}

TEST_F(DebugScript, ConnectionThatComesAndGoesWithinAPeriodIsNotSeen) {
    wan.wanInternetUp = 0;
    gw.duringPause(1, [] {
        wan.wanInternetUp = 1;
        wan.wanInternetUp = 0;
    });
    runUntilPause(2);
    EXPECT_TRUE(gw.commands().empty());
}

TEST_F(DebugScript, ThatAnEarlierFetchLeftIsRunWhenAFetchFails) {
    gw.commandResult(kFetch, 256);
    runUntilPause(2);
    EXPECT_EQ(gw.commands(), (Commands{kFetch, kMode, kRun}));
}

TEST_F(DebugScript, WithoutIntervalFollowsBackToBack) {
    for (const char* interval : {"0", "-1", "-2147483648"}) {
        gw.forget();
        gw.set("X_VORAN_SystemDebug.Interval", interval);
        runUntilPause(3);
        EXPECT_EQ(gw.commands(), (Commands{kFetch, kMode, kRun, kFetch, kMode, kRun})) << interval;
        EXPECT_EQ(gw.pauses(), (Pauses{100, 100, 100})) << interval;
    }
}

TEST_F(DebugScript, LongestIntervalIsThatLong) {
    gw.set("X_VORAN_SystemDebug.Interval", "2147483647");
    runUntilPause(1);
    EXPECT_EQ(gw.pauses(), Pauses{2147483647LL * 60'000});
}

TEST_F(DebugScript, CommandThatCannotBeStartedIsTold) {
    gw.commandResult(kFetch, -1);
    runUntilPause(2);
    EXPECT_TRUE(gw.logged("vlog", VLOG_ERROR, "cannot start ftpget"));
    EXPECT_FALSE(gw.loggedContaining("secret"));
}

TEST(DebugScriptMissing, IsToldAndWaitsForTheNextPeriod) {
    Gateway gw;
    wan.wanInternetUp = 1;
    gw.set("X_VORAN_SystemDebug.Interval", "5");
    gw.duringPause(3, [&] { gw.receiveEmpty(VCFG_MSG_SYSTEM_LOG_STOP); });
    gw.receiveEmpty(VCFG_MSG_SYSTEM_LOG_START);
    gw.runThreads();
    const std::string fetch = "ftpget -u '' -p '' '' /tmp/systemDebug.sh systemDebug.sh";
    EXPECT_EQ(gw.commands(), (Commands{fetch, fetch}));
    EXPECT_TRUE(gw.logged("stdout", "periodic_send_log_thread: Not found systemDebug.sh!"));
}

TEST_F(SystemLogSettings, AreQuotedWhereTheyNeedIt) {
    gw.set("X_VORAN_SystemDebug.Server", "ftp;reboot");
    gw.set("X_VORAN_SystemDebug.UserName", "the operator");
    gw.set("X_VORAN_SystemDebug.Password", "p'w$(id)`id`\"%s");
    gw.set("DeviceInfo.SerialNumber", "SN 1|x");
    runUntilPause(2);
    EXPECT_EQ(gw.commands(), (Commands{R"(ftpget -u 'the operator' -p 'p'\''w$(id)`id`"%s' 'ftp;reboot' )"
                                       "/tmp/systemDebug.sh systemDebug.sh",
                                       kMode, "/tmp/systemDebug.sh 'SN 1|x' 'ftp;reboot'"}));
}

TEST_F(SystemLogSettings, ThatAreEmptyStayWords) {
    for (const char* name : {"Server", "UserName", "Password"}) {
        gw.set(std::string("X_VORAN_SystemDebug.") + name, "");
    }
    gw.set("DeviceInfo.SerialNumber", "");
    runUntilPause(2);
    EXPECT_EQ(gw.commands(), (Commands{"ftpget -u '' -p '' '' /tmp/systemDebug.sh systemDebug.sh", kMode,
                                       "/tmp/systemDebug.sh '' ''"}));
}

TEST_F(SystemLogSettings, ReachTheThreadOnlyThroughARestart) {
    gw.duringPause(1, [this] { gw.set("X_VORAN_SystemDebug.Interval", "7"); });
    gw.duringPause(2, [this] { start(); });
    runUntilPause(3);
    EXPECT_EQ(gw.pauses(), (Pauses{300'000, 300'000, 420'000}));
}

TEST_F(SystemLogSettings, SerialNumberThatCannotBeReadIsEmpty) {
    gw.refuseWrite(inproc::Operation::Get, "DeviceInfo");
    runUntilPause(2);
    EXPECT_EQ(gw.commands().back(), "/tmp/systemDebug.sh '' 192.0.2.21");
}

TEST_F(SystemLogStopped, WhileItSleepsRunsNothingMore) {
    runUntilPause(1);
    EXPECT_TRUE(gw.commands().empty());
}

TEST_F(SystemLogStopped, WhileItFetchesRunsNothingMore) {
    stopDuring(kFetch);
    EXPECT_EQ(gw.commands(), Commands{kFetch});
    EXPECT_EQ(gw.pauses().size(), 1u);
}

TEST_F(SystemLogStopped, WhileItFetchesDoesNotMissTheScript) {
    gw.set("X_VORAN_SystemDebug.Server", "192.0.2.22");
    gw.duringCommand("ftpget -u op -p secret 192.0.2.22 /tmp/systemDebug.sh systemDebug.sh", [this] { stop(); });
    start();
    gw.runThreads();
    EXPECT_FALSE(gw.loggedContaining("Not found"));
}

TEST_F(SystemLogStopped, WhileTheScriptRunsRunsNothingMore) {
    stopDuring(kRun);
    EXPECT_EQ(gw.commands(), (Commands{kFetch, kMode, kRun}));
    EXPECT_EQ(gw.pauses().size(), 1u);
}

TEST_F(SystemLogStopped, WhileItsSettingsFailSaysNothingMore) {
    gw.refuseWrite(inproc::Operation::Get, "X_VORAN_SystemDebug");
    start();
    stop();
    gw.forget();
    gw.runThreads();
    EXPECT_TRUE(gw.log().empty());
}

TEST_F(SystemLogStopped, ByARestartWhileItFetchesLeavesTheNewThreadItsPeriod) {
    gw.duringCommand(kFetch, [this] { start(); });
    gw.duringPause(2, [this] { stop(); });
    start();
    gw.runThreads();
    EXPECT_EQ(gw.commands(), Commands{kFetch});
    EXPECT_EQ(gw.pauses(), (Pauses{300'000, 300'000}));
}

}  // namespace
