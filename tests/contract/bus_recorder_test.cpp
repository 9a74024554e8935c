// What the flight recorder keeps, whoever is killed, and whatever somebody has put in its place.
#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vcfg/loop.h>
#include <vcfg/recorder.h>

#include <algorithm>
#include <atomic>
#include <fstream>
#include <random>
#include <thread>

#include "bus_world.h"
#include "recorder/events.h"
#include "recorder/reader.h"
#include "recorder/secrets.h"

namespace {

namespace recorder = vcfg::recorder;
using recorder::Kind;
using recorder::Told;

const std::string kSendToNobody = "'" VCFGCTL_PATH "' send --to 99 --type 0x80000008 --payload x 2>/dev/null";

class BusRecorder : public BusWorld {
  protected:
    BusRecorder() { vcfg_msg_eidInit(kClient, "client"); }

    std::string path() const { return directory + "/recorder"; }
    std::vector<Told> told() const {
        std::vector<Told> all;
        std::string why;
        EXPECT_TRUE(recorder::readRecorder(path(), &all, &why)) << why;
        return all;
    }
    std::vector<Told> told(Kind kind) const {
        std::vector<Told> all = told();
        std::erase_if(all, [kind](const Told& one) { return one.entry.kind != kind; });
        return all;
    }
    std::string bytes() const {
        std::ifstream file(path(), std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }
    // Puts something in its place, and has a new process come to the bus.
    void replaceBy(const std::string& content) const {
        unlink(path().c_str());
        std::ofstream(path(), std::ios::binary) << content;
        chmod(path().c_str(), 0600);
        inAnotherProcess([] { recorder::step(recorder::Lane::Lasting, "test", "of another process", 0); });
    }
    static void inAnotherProcess(const std::function<void()>& body) {
        Process process([&](const Process::Ready& ready) {
            recorder::attachRecorder();
            body();
            ready();
        });
        EXPECT_EQ(0, process.exitStatus());
    }
    bool hasStep(const std::string& what) const {
        const std::vector<Told> steps = told(Kind::Step);
        return std::any_of(steps.begin(), steps.end(), [&](const Told& one) { return one.field(1) == what; });
    }
};

TEST_F(BusRecorder, FileHasItsSizeAndIsItsUsersAlone) {
    struct stat status {};
    ASSERT_EQ(0, stat(path().c_str(), &status));
    EXPECT_EQ(256 * 1024, status.st_size);
    EXPECT_EQ(0600u, status.st_mode & 07777u);
}

TEST_F(BusRecorder, WhatIsSentIsFoundAgainWhereItIsReceived) {
    serve(kServer);
    const uint32_t before = vcfgEventBegin("test", 0, "the cause", nullptr, 0);
    const uint32_t event = vcfgEventCurrent();
    ASSERT_EQ(VCFG_DELIVERED, tell("first"));
    ASSERT_EQ(VCFG_DELIVERED, tell("second"));
    vcfgEventEnd(before);
    ASSERT_NE(nullptr, receive());
    ASSERT_NE(nullptr, receive());
    const std::vector<Told> sent = told(Kind::Sent);
    const std::vector<Told> received = told(Kind::Received);
    ASSERT_EQ(2u, sent.size());
    ASSERT_EQ(2u, received.size());
    for (const size_t each : {0u, 1u}) {
        EXPECT_EQ(event, sent[each].entry.event);
        EXPECT_NE(0u, sent[each].entry.numbers[2]);
        EXPECT_EQ(sent[each].entry.numbers[2], received[each].entry.numbers[2]);
        EXPECT_EQ(each + 1, received[each].entry.numbers[3]);
    }
}

TEST_F(BusRecorder, MessageIsTheEventUntilTheNextIsAskedFor) {
    serve(kServer);
    tell("hello");
    ASSERT_NE(nullptr, receive());
    const uint32_t event = vcfgEventCurrent();
    EXPECT_NE(0u, event);
    vcfgEventStep("test", "done", 7, nullptr, 0);
    EXPECT_EQ(event, told(Kind::Step).back().entry.event);
    EXPECT_EQ(7u, told(Kind::Step).back().entry.numbers[0]);
    receive(1);
    EXPECT_EQ(0u, vcfgEventCurrent());
}

TEST_F(BusRecorder, MessageIsTheEventInALoopToo) {
    serve(kServer);
    tell("hello");
    vcfg_msg_t* message = nullptr;
    ASSERT_TRUE(within(kSoon, [&] { return vcfg_msg_serverTryRecv(&message) == VCFG_OK; }));
    const Message hello(message);
    EXPECT_NE(0u, vcfgEventCurrent());
    EXPECT_EQ(VCFG_ERR_TIMEOUT, vcfg_msg_serverTryRecv(&message));
    EXPECT_EQ(0u, vcfgEventCurrent());
}

TEST_F(BusRecorder, LineThatIsSaidLeavesNothingInTheRing) {
    const std::string line = "an open sesame";
    vcfgEventSaid("syslog", 6, line.data(), line.size());
    EXPECT_FALSE(hasStep("syslog"));
    EXPECT_FALSE(hasStep(line));
    vcfgEventStep("test", "done", 0, nullptr, 0);
    EXPECT_TRUE(hasStep("done"));
}

TEST_F(BusRecorder, ThreadGoesOnWithAnEventOfAnother) {
    const uint32_t before = vcfgEventBegin("test", 0, "outer", nullptr, 0);
    const uint32_t event = vcfgEventCurrent();
    std::thread([event] {
        EXPECT_EQ(0u, vcfgEventCurrent());
        const uint32_t none = vcfgEventBegin("thread", event, "inner", nullptr, 0);
        vcfgEventStep("test", "of the thread", 0, nullptr, 0);
        vcfgEventEnd(none);
    }).join();
    EXPECT_EQ(event, vcfgEventCurrent());
    vcfgEventEnd(before);
    const std::vector<Told> events = told(Kind::Event);
    const auto inner =
        std::find_if(events.begin(), events.end(), [](const Told& one) { return one.field(2) == "inner"; });
    ASSERT_NE(events.end(), inner);
    EXPECT_EQ(event, inner->entry.cause);
}

TEST_F(BusRecorder, WhatIsDoneWithoutAnEventIsTheProgramsOwn) {
    EXPECT_NE(0, system(("VCFG_EVENT=4711 " + kSendToNobody).c_str()));
    const uint32_t event = told(Kind::Failed).back().entry.event;
    const std::vector<Told> events = told(Kind::Event);
    const auto program =
        std::find_if(events.begin(), events.end(), [=](const Told& one) { return one.entry.event == event; });
    ASSERT_NE(events.end(), program);
    EXPECT_EQ("program", program->field(0));
    EXPECT_EQ(4711u, program->entry.cause);
    EXPECT_TRUE(program->field(3).starts_with("vcfgctl send --to 99")) << program->field(3);
}

TEST_F(BusRecorder, WhatLastsIsNotPushedOutByWhatDoesNot) {
    recorder::step(recorder::Lane::Lasting, "test", "kept", 0);
    for (int each = 0; each < 20000; ++each) {
        recorder::step(recorder::Lane::Brief, "test", "brief", each);
    }
    EXPECT_TRUE(hasStep("kept"));
}

TEST_F(BusRecorder, SecretsAreNotRecorded) {
    for (const char* text :
         {"vcfgctl set PPP.Interface.1.Password=topsecret", "wpa --passphrase topsecret",
          "{\"ConnectionRequestPassword\": \"topsecret\"}", "ftpget -u me -p topsecret host file",
          "StationPin='topsecret'", "Password='is '\\''topsecret'\\'' still' x", "Password=\"a \\\" topsecret\""}) {
        EXPECT_EQ(std::string::npos, recorder::masked(text).find("topsecret")) << recorder::masked(text);
        vcfgEventStep("test", text, 0, nullptr, 0);
        vcfgEventEnd(vcfgEventBegin("test", 0, text, nullptr, 0));
    }
    EXPECT_EQ(std::string::npos, bytes().find("topsecret"));
    EXPECT_EQ("vcfgctl set IP.Interface.1.Enable=true --port 80",
              recorder::masked("vcfgctl set IP.Interface.1.Enable=true --port 80"));
}

// Writes until a signal ends it, wherever it is then.
[[noreturn]] void writeUntilKilled(const std::string& text, suseconds_t afterUs) {
    const itimerval end{{0, 0}, {0, afterUs}};
    signal(SIGALRM, SIG_DFL);
    setitimer(ITIMER_REAL, &end, nullptr);
    for (int step = 0;; ++step) {
        recorder::step(recorder::Lane::Lasting, "test", text, step);
    }
}

TEST_F(BusRecorder, WriterKilledAnywhereLeavesNothingWrong) {
    constexpr int kKilled = 10000;
    constexpr int kAtOnce = 4;
    const std::string text(180, 'x');
    std::mt19937 random(1);
    for (int begun = 0; begun < kKilled + kAtOnce; ++begun) {
        if (begun < kKilled && fork() == 0) {
            writeUntilKilled(text, static_cast<suseconds_t>(20 + random() % 100));
        }
        if (int status = 0; begun >= kAtOnce) {
            ASSERT_LT(0, wait(&status));
            ASSERT_TRUE(WIFSIGNALED(status));
        }
        if (begun % 500 == 0) {
            for (const Told& one : told(Kind::Step)) {
                ASSERT_EQ("test", one.field(0));
                ASSERT_EQ(text, one.field(1));
            }
        }
        random();
    }
    recorder::step(recorder::Lane::Lasting, "test", "behind all", 0);
    EXPECT_TRUE(hasStep("behind all"));
}

TEST_F(BusRecorder, RingThatWrapsDuringAReadShowsWholeEntriesOnly) {
    std::atomic<bool> stop{false};
    std::vector<std::thread> writers;
    writers.reserve(3);
    for (int each = 0; each < 3; ++each) {
        writers.emplace_back([&stop, each] {
            const std::string text(static_cast<size_t>(20 + 60 * each), static_cast<char>('a' + each));
            while (!stop) {
                recorder::step(recorder::Lane::Lasting, "test", text, 0);
            }
        });
    }
    for (int round = 0; round < 100; ++round) {
        for (const Told& one : told(Kind::Step)) {
            const std::string_view text = one.field(1);
            ASSERT_EQ(std::string::npos, text.find_first_not_of(text[0]));
            ASSERT_EQ(static_cast<size_t>(20 + 60 * (text[0] - 'a')), text.size());
        }
    }
    stop = true;
    for (std::thread& writer : writers) {
        writer.join();
    }
}

TEST_F(BusRecorder, WhatIsNoRecorderIsMadeAnew) {
    std::mt19937 random(2);
    std::string noise(recorder::File::kSize, '\0');
    std::generate(noise.begin(), noise.end(), [&] { return static_cast<char>(random()); });
    std::string otherVersion = bytes();
    otherVersion[0] = static_cast<char>(otherVersion[0] + 1);
    for (const std::string& content : {std::string(), bytes().substr(0, 5000), noise, otherVersion}) {
        replaceBy(content);
        EXPECT_TRUE(hasStep("of another process"));
    }
    EXPECT_NE(std::string::npos, logged().find("it is made anew"));
}

TEST_F(BusRecorder, NoiseBehindAGoodHeadIsPassedOver) {
    std::mt19937 random(3);
    for (int round = 0; round < 5; ++round) {
        std::string content = bytes();
        std::generate(content.begin() + 4, content.end(), [&] { return static_cast<char>(random()); });
        EXPECT_TRUE(recorder::entriesIn(content).empty());
        replaceBy(content);
        EXPECT_TRUE(hasStep("of another process"));
    }
}

TEST_F(BusRecorder, AnotherOwnersFileIsNotUsed) {
    if (geteuid() != 0) {
        GTEST_SKIP() << "only root can give a file away";
    }
    const std::string good = bytes();
    unlink(path().c_str());
    std::ofstream(path(), std::ios::binary) << good;
    ASSERT_EQ(0, chown(path().c_str(), 12345, gid_t(-1)));
    inAnotherProcess([] { recorder::step(recorder::Lane::Lasting, "test", "of another process", 0); });
    struct stat status {};
    ASSERT_EQ(0, stat(path().c_str(), &status));
    EXPECT_EQ(0u, status.st_uid);
    EXPECT_TRUE(hasStep("of another process"));
}

TEST_F(BusRecorder, TruncatedFileIsToldAndNotShown) {
    ASSERT_EQ(0, truncate(path().c_str(), 4096));
    std::vector<Told> all;
    std::string why;
    EXPECT_FALSE(recorder::readRecorder(path(), &all, &why));
    EXPECT_NE(std::string::npos, why.find("no recorder's file"));
    unlink(path().c_str());
    EXPECT_FALSE(recorder::readRecorder(path(), &all, &why));
    recorder::attachRecorder();
}

TEST_F(BusRecorder, SwitchedOffRecordsNothing) {
    const size_t before = told().size();
    ASSERT_EQ(0, setenv("VCFG_RECORDER", "0", 1));
    EXPECT_NE(0, system(kSendToNobody.c_str()));
    EXPECT_EQ(before, told().size());
    unsetenv("VCFG_RECORDER");
    EXPECT_NE(0, system(kSendToNobody.c_str()));
    EXPECT_LT(before, told().size());
}

}  // namespace
