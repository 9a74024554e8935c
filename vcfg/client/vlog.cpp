// The framework log of <vcfg/os.h>: one datagram per line to whoever collects them, else readable text on stderr.
#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>
#include <vcfg/os.h>

#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <mutex>
#include <string>

#include "deadline.h"
#include "descriptor.h"
#include "endpoint.h"
#include "json_text.h"
#include "log_level.h"
#include "monitors.h"
#include "quiet_write.h"
#include "run_dir.h"

namespace vcfg {
namespace {

constexpr size_t kLongestText = 2000;
// A collector that is behind gets this long to catch up, and is then left alone for a while.
constexpr int kPatienceMs = 10;
constexpr int64_t kLeaveAloneUs = 1000000;

std::atomic<int> level{VLOG_INFO};

struct Line {
    int64_t timeUs;
    int level;
    const char* source;
    int line;
    const char* function;
    std::string_view text;
};

class Collector {
  public:
    bool take(const std::string& datagram) {
        const std::lock_guard guard(mutex_);
        return send(datagram) || (errno != EAGAIN && reconnect() && send(datagram));
    }

  private:
    bool reconnect() {
        if (socket_ >= 0) {
            close(socket_);
        }
        sockaddr_un address;
        socket_ = aboveStandard(socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0));
        return bus::toAddress(bus::runDirectory() + "/vlog", &address) &&
               connect(socket_, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
    }

    bool send(const std::string& datagram) {
        while (::send(socket_, datagram.data(), datagram.size(), MSG_DONTWAIT | MSG_NOSIGNAL) < 0) {
            if (errno != EAGAIN || !catchesUp()) {
                return false;
            }
        }
        return true;
    }

    bool catchesUp() {
        if (monotonicUs() < leftAloneUntilUs_) {
            errno = EAGAIN;
            return false;
        }
        pollfd state{socket_, POLLOUT, 0};
        const bool ready = poll(&state, 1, kPatienceMs) > 0;
        if (!ready) {
            leftAloneUntilUs_ = monotonicUs() + kLeaveAloneUs;
            errno = EAGAIN;
        }
        return ready;
    }

    std::mutex mutex_;
    int socket_ = -1;
    int64_t leftAloneUntilUs_ = 0;
};

std::string toJson(const Line& line) {
    std::string json = "{\"t_mono_us\":" + std::to_string(line.timeUs) + ",\"level\":" + std::to_string(line.level);
    json += ",\"source\":";
    appendJsonString(json, line.source);
    json += ",\"line\":" + std::to_string(line.line) + ",\"function\":";
    appendJsonString(json, line.function);
    json += ",\"text\":";
    appendJsonString(json, line.text);
    json += ",\"daemon\":";
    appendJsonString(json, daemonName());
    return json + "}";
}

const char* levelName(int wanted) {
    switch (wanted) {
        case VLOG_ERROR:
            return "error";
        case VLOG_WARNING:
            return "warning";
        case VLOG_INFO:
            return "info";
        default:
            return "debug";
    }
}

void toStderr(const Line& line) {
    char text[kLongestText + 300];
    const int length =
        snprintf(text, sizeof text, "%lld.%06lld %s %s %s:%d %s: %.*s\n", static_cast<long long>(line.timeUs / 1000000),
                 static_cast<long long>(line.timeUs % 1000000), daemonName(), levelName(line.level), line.source,
                 line.line, line.function, static_cast<int>(line.text.size()), line.text.data());
    const size_t size = length < 0 ? 0 : static_cast<size_t>(length);
    writeQuietly(STDERR_FILENO, text, size < sizeof text ? size : sizeof text - 1);
}

// Who records gets the line, too; but none of what is said about the way to him.
void tell(const Line& line) {
    thread_local bool isTelling = false;
    if (!isTelling && bus::isRecorded()) {
        isTelling = true;
        bus::copyNote({bus::Passing::Step, "log", "vlog", line.level, 0, line.text});
        isTelling = false;
    }
}

void write(const Line& line) {
    static Collector& collector = *new Collector;  // other threads may log until the process has gone
    if (!collector.take(toJson(line))) {
        toStderr(line);
    }
    tell(line);
}

}  // namespace

bool setLogLevel(int wanted) {
    if (wanted < VLOG_ERROR || wanted > VLOG_DEBUG) {
        return false;
    }
    level.store(wanted, std::memory_order_relaxed);
    return true;
}

}  // namespace vcfg

int vlog_levelAllow(int level) {
    return level <= vcfg::level.load(std::memory_order_relaxed) ? 1 : 0;
}

void vlog_log_f(int level, const char* source, int line, const char* function, const char* format, ...) {
    const int error = errno;
    char text[vcfg::kLongestText + 1];
    va_list arguments;
    va_start(arguments, format);
    const int length = vsnprintf(text, sizeof text, format, arguments);  // NOLINT(clang-analyzer-valist.Uninitialized)
    va_end(arguments);
    size_t size = length < 0 ? 0 : static_cast<size_t>(length);
    size = size < sizeof text ? size : sizeof text - 1;
    if (size > 0 && text[size - 1] == '\n') {
        --size;
    }
    try {
        vcfg::write({vcfg::monotonicUs(),
                     level,
                     source != nullptr ? source : "",
                     line,
                     function != nullptr ? function : "",
                     {text, size}});
    } catch (const std::exception&) {
        // Memory for one more line is short: there is nowhere left to say so.
    }
    errno = error;
}
