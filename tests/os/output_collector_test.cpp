// Readers of standard output that stop: they cost lines, never the daemon's time.
#include <fcntl.h>

#include <csignal>
#include <thread>

#include "os/log_collector.h"

namespace {

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
