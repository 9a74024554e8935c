// Which event a command is told, on the real system: its thread's own, however many start one in the same instant.
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vcfg/recorder.h>

#include <atomic>
#include <cstdlib>
#include <map>
#include <string>
#include <thread>
#include <vector>

#include "core/os.h"
#include "core/stoppable.h"
#include "recorder/reader.h"
#include "recorder/ring.h"
#include "support/processes.h"

namespace {

namespace recorder = vcfg::recorder;

class CommandEvent : public ProcessTest {
  protected:
    CommandEvent() {
        setenv("VCFG_RUN_DIR", folder.c_str(), 1);
        recorder::attachRecorder();
    }
    ~CommandEvent() override { unsetenv("VCFG_RUN_DIR"); }

    // By the command's text.
    static std::map<std::string, uint32_t> recorded() {
        std::map<std::string, uint32_t> events;
        std::vector<recorder::Told> all;
        std::string why;
        EXPECT_TRUE(recorder::readRecorder(recorder::recorderPath(), &all, &why)) << why;
        for (const recorder::Told& told : all) {
            if (told.entry.kind == recorder::Kind::Event && told.field(0) == "command") {
                events[std::string(told.field(2))] = told.entry.event;
            }
        }
        return events;
    }
};

TEST_F(CommandEvent, EachOfManyThreadsHandsOnItsOwn) {
    constexpr size_t kThreads = 16;
    constexpr size_t kCommands = 20;
    std::atomic<size_t> waiting{kThreads};
    std::vector<std::map<std::string, std::string>> told(kThreads);
    std::vector<std::thread> threads;
    for (size_t thread = 0; thread < kThreads; ++thread) {
        threads.emplace_back([&, thread] {
            for (--waiting; waiting > 0;) {
            }
            for (size_t each = 0; each < kCommands; ++each) {
                const std::string text = "echo $VCFG_EVENT # " + std::to_string(thread) + "-" + std::to_string(each);
                told[thread][text] = os::firstLineOf(text, 100).value_or("nothing");
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    const std::map<std::string, uint32_t> events = recorded();
    for (const auto& ofThread : told) {
        for (const auto& [text, event] : ofThread) {
            ASSERT_TRUE(events.contains(text)) << text;
            EXPECT_EQ(std::to_string(events.at(text)), event) << text;
        }
    }
}

TEST_F(CommandEvent, EveryWayToRunACommandHandsItOn) {
    const std::string file = folder + "/told";
    const std::string text = "echo $VCFG_EVENT >" + file;
    EXPECT_EQ(os::runCommand(text), 0);
    EXPECT_EQ(os::readFile(file, 100), std::to_string(recorded()[text]) + "\n");
    os::Stoppable thread;
    EXPECT_EQ(thread.run(text + " "), 0);
    EXPECT_EQ(os::readFile(file, 100), std::to_string(recorded()[text + " "]) + "\n");
}

TEST_F(CommandEvent, TheDaemonsOwnEnvironmentStaysAsItIs) {
    os::runCommand(":");
    EXPECT_EQ(getenv("VCFG_EVENT"), nullptr);
}

TEST_F(CommandEvent, StatusIsThatOfTheShell) {
    EXPECT_EQ(os::runCommand("exit 3"), 3 << 8);
    EXPECT_EQ(os::runCommand("kill -9 $$"), 9);
    EXPECT_EQ(os::firstLineOf("echo first; echo second", 100), "first");
    EXPECT_EQ(os::firstLineOf("printf '\\nsecond'", 100), "");
    EXPECT_EQ(os::firstLineOf("true", 100), std::nullopt);
    EXPECT_EQ(os::firstLineOf("echo cut here", 3), "cut");
}

// A child of somebody else's is nobody's to wait for.
TEST_F(CommandEvent, OnlyTheCommandItselfIsWaitedFor) {
    const pid_t other = fork();
    if (other == 0) {
        usleep(300'000);
        _exit(7);
    }
    EXPECT_EQ(os::runCommand("exit 3"), 3 << 8);
    EXPECT_EQ(os::firstLineOf("echo first", 100), "first");
    int status = 0;
    EXPECT_EQ(waitpid(other, &status, 0), other);
    EXPECT_EQ(status, 7 << 8);
}

}  // namespace
