// The daemon's grip on the real system, and its timer at a real socket: each call that fails costs what it was for, and
// nothing is left open or in use.
#include "core/os.h"

#include <gtest/gtest.h>
#include <sys/poll.h>
#include <sys/socket.h>
#include <unistd.h>
#include <vcfg/vcfg.h>

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <new>

#include "client/local_socket.h"
#include "core/descriptor.h"
#include "core/event.h"
#include "core/log.h"
#include "core/timer_thread.h"
#include "injector.h"

namespace fs = std::filesystem;

namespace {

using faults::Kind;

// Pieces of memory that the first exceptions and errors take and keep.
constexpr int64_t kOnce = 2;
uint32_t clockMs = 5000;

size_t descriptors() {
    return static_cast<size_t>(std::distance(fs::directory_iterator("/proc/self/fd"), fs::directory_iterator{}));
}

std::string directory() {
    static const std::string made = [] {
        std::string name = "/tmp/os_faults_XXXXXX";
        return std::string(mkdtemp(name.data()));
    }();
    return made;
}

// Lets each call of the operation fail; `expect` is asked behind it, with whether one has.
void failEach(Kind kind, const std::function<void()>& operation, const std::function<void(bool struck)>& expect) {
    VLOG(VLOG_ERROR, "one call fails after the other");  // what is made once
    operation();
    const size_t open = descriptors();
    const int64_t pieces = faults::piecesInUse();
    uint32_t number = 0;
    for (bool struck = true; struck && !testing::Test::HasFailure();) {
        faults::arm(kind, ++number);
        {
            const faults::Exposed now;
            handleEvent("test", operation);
        }
        faults::disarm();
        struck = faults::hasStruck();
        EXPECT_LE(descriptors(), open) << faults::nameOf(kind) << " " << number;
        EXPECT_LE(faults::piecesInUse(), pieces + kOnce) << faults::nameOf(kind) << " " << number;
        expect(struck);
    }
}

class OsFaults : public testing::TestWithParam<Kind> {};

TEST_P(OsFaults, FileIsReadAndClosed) {
    const std::string path = directory() + "/read";
    std::ofstream(path) << std::string(9000, 'x');
    size_t read = 0;
    const auto operation = [&] {
        read = 0;
        const auto text = os::readFile(path, 10000);
        read = text ? text->size() : 0;
    };
    failEach(GetParam(), operation, [&](bool struck) { EXPECT_TRUE(read == 9000 || struck) << read; });
}

TEST_P(OsFaults, CommandRunsOrSaysThatItDoesNot) {
    int result = 0;
    const auto operation = [&] {
        result = -1;
        result = os::runCommand("exit 0");
    };
    failEach(GetParam(), operation, [&](bool struck) { EXPECT_EQ(result != 0, struck); });
}

TEST_P(OsFaults, LineOfACommandIsReadAndItsPipeClosed) {
    std::string line;
    const auto operation = [&] {
        line.clear();
        const auto first = os::firstLineOf("echo line of a command that is longer than a short text", 100);
        line.assign(first ? "line" : "");
    };
    failEach(GetParam(), operation, [&](bool struck) { EXPECT_TRUE(struck || !line.empty()); });
}

TEST_P(OsFaults, SmallQuestionsAreAnsweredOrNot) {
    int answered = 0;
    const auto operation = [&] {
        answered = 0;
        answered += os::fileExists(directory()) ? 1 : 0;
        answered += os::uptimeSeconds() ? 1 : 0;
        answered += os::signalProcess(getpid(), 0) == 0 ? 1 : 0;
        answered += os::writeFile(directory() + "/written", "x") ? 1 : 0;
        answered += os::kernelRelease().empty() ? 0 : 1;
    };
    failEach(GetParam(), operation, [&](bool struck) { EXPECT_TRUE(struck ? answered <= 5 : answered == 5); });
}

TEST_P(OsFaults, ThreadRunsOrItsStartHasFailed) {
    static int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    int code = VCFG_OK;
    char byte = 0;
    const auto body = [](void*) { EXPECT_EQ(write(ends[1], "x", 1), 1); };
    const auto operation = [&] { code = os::startThread(body, nullptr, 128 << 10); };
    const auto expect = [&](bool struck) { EXPECT_TRUE(code == VCFG_OK ? read(ends[0], &byte, 1) == 1 : struck); };
    for (uint32_t number = 1; number <= 4; ++number) {
        faults::arm(GetParam(), number);
        {
            const faults::Exposed now;
            operation();
        }
        faults::disarm();
        expect(faults::hasStruck());
    }
    close(ends[0]);
    close(ends[1]);
}

class TimerFaults : public testing::TestWithParam<Kind> {
  protected:
    TimerFaults() : listening(voUtilTcpSvrInit(path.c_str())) {}

    void ask(const std::string& text) const {
        std::string bytes(VCFG_MSG_HEADER_SIZE, '\0');
        bytes[10] = static_cast<char>(text.size() + 1);
        bytes += text + '\0';
        const Descriptor client(vcfg::connectTo(path.c_str()));
        EXPECT_EQ(send(client.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL), static_cast<ssize_t>(bytes.size()));
    }
    bool isAsked() const {
        pollfd state{listening.get(), POLLIN, 0};
        return poll(&state, 1, 0) > 0;
    }
    void roundsUntilAllIsTaken() {
        while (isAsked()) {
            timerRound(listening.get(), timer);
        }
    }

    const std::string path = directory() + "/timer";
    const Descriptor listening;
    Timer timer;
};

TEST_P(TimerFaults, NextRequestIsTakenAndWhatIsDueIsOver) {
    const std::string request =
        R"({"tmApplyObj":{"Name":"a task with a name","exprTime":1,"msg_type":4027,"msgParmData":"x"}})";
    const auto operation = [&] {
        timerRound(listening.get(), timer);
        clockMs += 1000;
        timerRound(listening.get(), timer);
    };
    uint32_t number = 0;
    VLOG(VLOG_ERROR, "one call fails after the other");
    const size_t open = descriptors();
    for (bool struck = true; struck && !HasFailure();) {
        ask(request);
        ask(request);  // so that no round waits
        faults::arm(GetParam(), ++number);
        {
            const faults::Exposed now;
            handleEvent("timer", operation);
        }
        faults::disarm();
        struck = faults::hasStruck();
        roundsUntilAllIsTaken();
        ask(request);
        roundsUntilAllIsTaken();
        EXPECT_TRUE(msToTick(timer, clockMs)) << number;
        EXPECT_EQ(tick(timer, clockMs + 1000).size(), 1u) << number;
        EXPECT_FALSE(msToTick(timer, clockMs + 1000)) << number;
        EXPECT_LE(descriptors(), open) << number;
        clockMs += 1000;
    }
    EXPECT_GT(number, 3u);
}

const auto kinds = testing::Values(Kind::Memory, Kind::System);
const auto nameOfKind = [](const auto& parameter) { return std::string(faults::nameOf(parameter.param)); };
INSTANTIATE_TEST_SUITE_P(Each, OsFaults, kinds, nameOfKind);
INSTANTIATE_TEST_SUITE_P(Each, TimerFaults, kinds, nameOfKind);

}  // namespace

// The clock is in the tests' hands.
extern "C" uint32_t __wrap_vos_mtime_get(void);  // NOLINT(bugprone-reserved-identifier): the linker chose the name
extern "C" uint32_t __wrap_vos_mtime_get(void) {
    return clockMs;
}
