// Ways out for log lines that do not hold up the daemon. A collector that is behind gets a moment to catch up, and is
// left alone for a while when it takes nothing meanwhile. A line that it does not take is lost and counted, and the
// count goes ahead of the next line that is taken.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <mutex>
#include <optional>
#include <string>
#include <utility>

namespace os {

class LogOutlet {
  public:
    LogOutlet() = default;
    LogOutlet(const LogOutlet&) = delete;
    LogOutlet& operator=(const LogOutlet&) = delete;
    virtual ~LogOutlet() = default;

    // From any thread; lines keep the order of the calls.
    void put(int priority, const std::string& text);

  protected:
    enum class Outcome { Taken, Full, Broken };
    using Offer = ssize_t (*)(int descriptor, const char* bytes, size_t size);  // as send() that does not wait

    // For sockets.
    static ssize_t sendNow(int descriptor, const char* bytes, size_t size);
    // A stream may take part of a line: what is left of it goes ahead of the next one.
    Outcome write(int descriptor, const std::string& line, Offer offer);
    void forgetUnfinished() { unfinished_.clear(); }

  private:
    virtual bool take(int priority, const std::string& text) = 0;
    Outcome finish(int descriptor, Offer offer);
    bool roomComes(int descriptor);

    std::mutex mutex_;
    size_t lost_ = 0;
    std::string unfinished_;
    std::optional<int64_t> stalledSinceMs_;
};

// The system log's socket, datagram or stream.
class SystemLog : public LogOutlet {
  public:
    explicit SystemLog(std::string path) : path_(std::move(path)) {}
    ~SystemLog() override;

  private:
    bool take(int priority, const std::string& text) override;
    bool connectAs(int type);
    bool reconnect();
    std::string record(int priority, const std::string& text) const;

    std::string path_;
    int socket_ = -1;
    bool isStream_ = false;
};

// A descriptor that others write to as well: its blocking mode stays as it is.
class SharedOutput : public LogOutlet {
  public:
    explicit SharedOutput(int descriptor);
    ~SharedOutput() override;

  private:
    bool take(int priority, const std::string& text) override;

    int shared_;
    int own_;  // another way to the same pipe or terminal, which does not wait; -1 when there is none
    Offer offer_;
};

}  // namespace os
