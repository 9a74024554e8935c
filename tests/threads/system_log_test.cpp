// The system log thread with real threads and processes, started and stopped from two sides at once.
#include "core/system_log.h"

#include <sys/stat.h>
#include <vcfg/os.h>

#include <fstream>
#include <string>
#include <thread>

#include "core/wan_state.h"
#include "inproc_fe.h"
#include "support/processes.h"

// The framework's log and clock, which are nothing to these tests.
int vlog_levelAllow(int) {
    return 0;
}
void vlog_log_f(int, const char*, int, const char*, const char*, ...) {}
uint32_t vos_mtime_get() {
    return 0;
}

namespace {

class SystemLogProcesses : public ProcessTest {
  protected:
    // A fetch that writes down its process and then hangs, in the place of the real one.
    SystemLogProcesses() {
        const std::string program = folder + "/ftpget";
        std::ofstream(program) << "#!/bin/sh\necho $$ >>" << list() << "\nexec sleep 1000\n";
        chmod(program.c_str(), 0755);
        path = getenv("PATH");
        setenv("PATH", (folder + ":" + path).c_str(), 1);
        inproc::reset();
        wan.wanInternetUp = 1;
    }
    ~SystemLogProcesses() override {
        SystemLogThreadHandle(0);
        resetWanState();
        setenv("PATH", path.c_str(), 1);
    }

    std::string path;
};

TEST_F(SystemLogProcesses, RunningFetchEndsWithTheStop) {
    SystemLogThreadHandle(1);
    ASSERT_TRUE(comesTrue([&] { return anyBegun() && running() == 1; }));
    SystemLogThreadHandle(0);
    EXPECT_TRUE(comesTrue([&] { return running() == 0; }));
}

TEST_F(SystemLogProcesses, OneFetchAtATimeHoweverOftenItIsRestarted) {
    for (int round = 0; round < 20; ++round) {
        SystemLogThreadHandle(1);
    }
    EXPECT_TRUE(comesTrue([&] { return running() == 1; }));
}

TEST_F(SystemLogProcesses, NothingIsLeftWhenTwoThreadsStartAndStopIt) {
    const auto flap = [] {
        for (int round = 0; round < 200; ++round) {
            SystemLogThreadHandle(round % 3 == 0 ? 0 : 1);
        }
    };
    std::thread other(flap);
    flap();
    other.join();
    SystemLogThreadHandle(0);
    EXPECT_TRUE(comesTrue([&] { return running() == 0; }));
}

}  // namespace
