// Log collectors that stop reading: they cost lines, never the daemon's time.
#include <fcntl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <syslog.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "core/os_log.h"

#include <gtest/gtest.h>

namespace {

using Lines = std::vector<std::string>;
using Clock = std::chrono::steady_clock;

constexpr int kMany = 20000;  // more than any of the queues here holds

class Collector : public testing::Test {
  protected:
    Collector() {
        char name[] = "/tmp/log-test-XXXXXX";
        directory_ = mkdtemp(name);
        path_ = directory_ + "/log";
    }
    ~Collector() override {
        close(reader_);
        close(listener_);
        unlink(path_.c_str());
        rmdir(directory_.c_str());
    }

    int listen(int type) {
        unlink(path_.c_str());
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        path_.copy(address.sun_path, sizeof address.sun_path - 1);
        const int created = socket(AF_UNIX, type | SOCK_CLOEXEC, 0);
        EXPECT_EQ(0, bind(created, reinterpret_cast<const sockaddr*>(&address), sizeof address));
        if (type == SOCK_STREAM) {
            EXPECT_EQ(0, ::listen(created, 5));
        }
        return created;
    }
    // Everything that lies in the reader's queue, a record at a time ("<14>May  5 12:00:00 test: text").
    std::string drain() {
        std::string bytes;
        char chunk[1 << 18];
        for (ssize_t size = 0; (size = recv(reader_, chunk, sizeof chunk, MSG_DONTWAIT)) > 0;) {
            bytes.append(chunk, static_cast<size_t>(size));
        }
        return bytes;
    }
    // The texts of the records that lie there.
    Lines texts(char end = '\n') {
        Lines found;
        const std::string bytes = drain();
        for (size_t at = 0; at < bytes.size();) {
            const size_t stop = bytes.find(end, at);
            const std::string record = bytes.substr(at, stop - at);
            const size_t text = record.find(": ");
            found.push_back(text == std::string::npos ? "(cut) " + record : record.substr(text + 2));
            at = stop == std::string::npos ? bytes.size() : stop + 1;
        }
        return found;
    }

    std::string directory_;
    std::string path_;
    int listener_ = -1;
    int reader_ = -1;
};

void putMany(os::LogOutlet& outlet) {
    const auto start = Clock::now();
    for (int each = 0; each < kMany; ++each) {
        outlet.put(LOG_INFO, "line " + std::to_string(each) + "\n");
    }
    // A daemon that waits would be here for good.
    EXPECT_LT(Clock::now() - start, std::chrono::seconds(30));
}

// `before` are the lines from "line 0" on, without a gap; `after` tells how many are missing and goes on.
void expectCounted(const Lines& before, const Lines& after) {
    ASSERT_FALSE(before.empty());
    ASSERT_LT(before.size(), size_t{kMany});
    for (size_t each = 0; each < before.size(); ++each) {
        ASSERT_EQ("line " + std::to_string(each), before[each]);
    }
    const std::string lost = std::to_string(kMany - static_cast<int>(before.size()));
    EXPECT_EQ((Lines{lost + " log lines were lost: nobody took them", "again"}), after);
}

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

class OutputCollector : public Collector {
  protected:
    OutputCollector() {
        int ends[2];
        EXPECT_EQ(0, pipe2(ends, O_CLOEXEC));
        reader_ = ends[0];
        listener_ = ends[1];
    }
    Lines lines() {
        std::string bytes;
        char chunk[1 << 16];
        fcntl(reader_, F_SETFL, O_NONBLOCK);
        for (ssize_t size = 0; (size = read(reader_, chunk, sizeof chunk)) > 0;) {
            bytes.append(chunk, static_cast<size_t>(size));
        }
        Lines found;
        for (size_t at = 0; at < bytes.size();) {
            const size_t stop = bytes.find('\n', at);
            found.push_back(bytes.substr(at, stop - at));
            at = stop == std::string::npos ? bytes.size() : stop + 1;
        }
        return found;
    }
};

TEST_F(OutputCollector, PipeThatNobodyReadsIsCounted) {
    os::SharedOutput output(listener_);
    putMany(output);
    const Lines before = lines();
    output.put(LOG_INFO, "again\n");
    expectCounted(before, lines());
}

TEST_F(OutputCollector, PipeStaysBlockingForOthers) {
    os::SharedOutput output(listener_);
    output.put(LOG_INFO, "one\n");
    EXPECT_EQ(0, fcntl(listener_, F_GETFL) & O_NONBLOCK);
}

TEST_F(OutputCollector, LineLongerThanThePipeComesWhole) {
    os::SharedOutput output(listener_);
    const std::string line(200000, 'x');
    output.put(LOG_INFO, line + "\n");
    std::string got = lines().at(0);
    for (const char* next : {"a\n", "b\n", "c\n"}) {
        output.put(LOG_INFO, next);
        const Lines more = lines();
        ASSERT_FALSE(more.empty());
        got += got.size() < line.size() ? more[0] : "";
    }
    EXPECT_EQ(line, got);
}

TEST_F(OutputCollector, ReaderThatIsGoneCostsNoMoreThanLines) {
    os::SharedOutput output(listener_);
    close(reader_);
    reader_ = -1;
    output.put(LOG_INFO, "one\n");
    sigset_t pending;
    sigpending(&pending);
    EXPECT_EQ(0, sigismember(&pending, SIGPIPE));
}

TEST_F(OutputCollector, SocketThatNobodyReadsIsCounted) {
    close(reader_);
    close(listener_);
    int ends[2];
    ASSERT_EQ(0, socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends));
    reader_ = ends[0];
    listener_ = ends[1];
    os::SharedOutput output(listener_);
    putMany(output);
    EXPECT_LT(lines().size(), size_t{kMany});
    output.put(LOG_INFO, "again\n");
    EXPECT_EQ("again", lines().back());
}

TEST_F(OutputCollector, FileTakesEveryLine) {
    const int file = open(path_.c_str(), O_RDWR | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    os::SharedOutput output(file);
    putMany(output);
    close(reader_);
    reader_ = file;
    lseek(file, 0, SEEK_SET);
    EXPECT_EQ(size_t{kMany}, lines().size());
}

TEST_F(OutputCollector, LinesOfTwoThreadsAreWholeAndEachThreadsInOrder) {
    os::SharedOutput output(listener_);
    constexpr int kEach = 300;
    const auto speak = [&output](const std::string& name) {
        for (int each = 0; each < kEach; ++each) {
            output.put(LOG_INFO, name + " " + std::to_string(each) + "\n");
        }
    };
    std::thread first(speak, "a");
    std::thread second(speak, "b");
    first.join();
    second.join();
    int next[2] = {0, 0};
    for (const std::string& line : lines()) {
        int& expected = next[line[0] == 'a' ? 0 : 1];
        EXPECT_EQ(std::string(1, line[0]) + " " + std::to_string(expected++), line);
    }
    EXPECT_EQ(kEach, next[0]);
    EXPECT_EQ(kEach, next[1]);
}

}  // namespace
