// A log collector in the test's hands, and what is expected of one that stops reading.
#pragma once

#include <sys/socket.h>
#include <sys/un.h>
#include <syslog.h>
#include <unistd.h>

#include <chrono>
#include <string>
#include <vector>

#include "core/os_log.h"

#include <gtest/gtest.h>

using Lines = std::vector<std::string>;
using Clock = std::chrono::steady_clock;

inline constexpr int kMany = 20000;  // more than any of the queues here holds

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

inline void putMany(os::LogOutlet& outlet) {
    const auto start = Clock::now();
    for (int each = 0; each < kMany; ++each) {
        outlet.put(LOG_INFO, "line " + std::to_string(each) + "\n");
    }
    // A daemon that waits would be here for good.
    EXPECT_LT(Clock::now() - start, std::chrono::seconds(30));
}

// `before` are the lines from "line 0" on, without a gap; `after` tells how many are missing and goes on.
inline void expectCounted(const Lines& before, const Lines& after) {
    ASSERT_FALSE(before.empty());
    ASSERT_LT(before.size(), size_t{kMany});
    for (size_t each = 0; each < before.size(); ++each) {
        ASSERT_EQ("line " + std::to_string(each), before[each]);
    }
    const std::string lost = std::to_string(kMany - static_cast<int>(before.size()));
    EXPECT_EQ((Lines{lost + " log lines were lost: nobody took them", "again"}), after);
}
