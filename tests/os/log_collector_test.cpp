// Log collectors that stop reading: they cost lines, never the daemon's time.
#include "os/log_collector.h"

#include <algorithm>
#include <memory>
#include <thread>

namespace {

using SystemLogCollector = Collector;

TEST_F(SystemLogCollector, GetsARecordAsSyslogWritesIt) {
    reader_ = listen(SOCK_DGRAM);
    os::SystemLog log(path_);
    log.put(LOG_ERR, "text\n");
    const std::string record = drain();
    EXPECT_EQ("<11>", record.substr(0, 4));  // facility user
    EXPECT_EQ(std::string(program_invocation_short_name) + ": text\n", record.substr(record.find(':', 14) + 4));
}

TEST_F(SystemLogCollector, DatagramsThatNobodyReadsAreCounted) {
    reader_ = listen(SOCK_DGRAM);
    os::SystemLog log(path_);
    putMany(log);
    const Lines before = texts();
    log.put(LOG_INFO, "again\n");
    expectCounted(before, texts());
}

TEST_F(SystemLogCollector, StreamThatNobodyReadsIsCounted) {
    listener_ = listen(SOCK_STREAM);
    os::SystemLog log(path_);
    putMany(log);
    reader_ = accept(listener_, nullptr, nullptr);
    Lines before = texts('\0');
    log.put(LOG_INFO, "again\n");
    Lines after = texts('\0');
    if (before.back().find("(cut)") == 0 || before.back().back() != '\n') {  // its end came with the next line
        const std::string end = after.front();
        after.erase(after.begin());
        before.back() += end.substr(0, end.find('\n') + 1);
    }
    for (Lines* lines : {&before, &after}) {
        for (std::string& line : *lines) {
            line.pop_back();
        }
    }
    expectCounted(before, after);
}

TEST_F(SystemLogCollector, FullBacklogOfAStreamHoldsNobodyUp) {
    listener_ = listen(SOCK_STREAM);
    std::vector<std::unique_ptr<os::SystemLog>> others;
    for (int each = 0; each < 20; ++each) {
        others.push_back(std::make_unique<os::SystemLog>(path_));
        others.back()->put(LOG_INFO, "one\n");
    }
    SUCCEED();
}

TEST_F(SystemLogCollector, LinesOfABurstWaitForACollectorThatReads) {
    reader_ = listen(SOCK_DGRAM);
    constexpr int kBurst = 2000;
    Lines read;
    std::thread collector([&] {
        char chunk[512];
        while (read.size() < kBurst) {
            const ssize_t size = recv(reader_, chunk, sizeof chunk, 0);
            read.emplace_back(chunk, static_cast<size_t>(std::max<ssize_t>(size, 0)));
        }
    });
    os::SystemLog log(path_);
    for (int each = 0; each < kBurst; ++each) {
        log.put(LOG_INFO, "line " + std::to_string(each) + "\n");
    }
    collector.join();
    EXPECT_NE(std::string::npos, read.back().find(": line " + std::to_string(kBurst - 1) + "\n"));
}

// All in all for longer than a collector that does not read at all is waited for.
TEST_F(SystemLogCollector, LinesWaitAsLongAsItGoesOnReading) {
    reader_ = listen(SOCK_DGRAM);
    const timeval patience{20, 0};
    setsockopt(reader_, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
    constexpr int kRounds = 50;
    std::string last;
    std::thread collector([&] {
        char chunk[512];
        for (int each = 0; each < 10 * kRounds; ++each) {
            const ssize_t size = recv(reader_, chunk, sizeof chunk, 0);
            last.assign(chunk, static_cast<size_t>(std::max<ssize_t>(size, 0)));
            if (last.empty()) {
                return;
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(each % 10 == 0 ? 10 : 0));
        }
    });
    os::SystemLog log(path_);
    for (int each = 0; each < 10 * kRounds; ++each) {
        log.put(LOG_INFO, "line " + std::to_string(each) + "\n");
    }
    collector.join();
    EXPECT_NE(std::string::npos, last.find(": line " + std::to_string(10 * kRounds - 1) + "\n"));
}

TEST_F(SystemLogCollector, ThatComesLateHearsHowManyLinesItMissed) {
    os::SystemLog log(path_);
    log.put(LOG_INFO, "one\n");
    log.put(LOG_INFO, "two\n");
    reader_ = listen(SOCK_DGRAM);
    log.put(LOG_INFO, "three\n");
    EXPECT_EQ((Lines{"2 log lines were lost: nobody took them", "three"}), texts());
}

TEST_F(SystemLogCollector, ThatIsReplacedGetsTheNextLine) {
    for (const int type : {SOCK_DGRAM, SOCK_STREAM, SOCK_DGRAM}) {
        SCOPED_TRACE(type);
        os::SystemLog log(path_);
        reader_ = listen(SOCK_DGRAM);
        log.put(LOG_INFO, "one\n");
        close(reader_);
        reader_ = -1;
        listener_ = listen(type);
        log.put(LOG_INFO, "two\n");
        reader_ = type == SOCK_STREAM ? accept(listener_, nullptr, nullptr) : dup(listener_);
        EXPECT_NE(std::string::npos, drain().find(": two\n"));
        close(listener_);
        close(reader_);
        listener_ = reader_ = -1;
    }
}

TEST_F(SystemLogCollector, TextLongerThanADatagramIsCut) {
    reader_ = listen(SOCK_DGRAM);
    os::SystemLog log(path_);
    log.put(LOG_INFO, std::string(1 << 20, 'x'));
    EXPECT_GT(drain().size(), size_t{1} << 16);
}

}  // namespace
