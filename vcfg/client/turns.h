// Whose turn it is to be received from: the ready connections of one endpoint, one after the other.
#pragma once

#include <atomic>
#include <vector>

#include "bus_server.h"

namespace vcfg::bus {

// epoll names the ready ones in a ring, those that it has named longest ago first, and each that it names gets one turn
// of at most kTurn packets. So of any number of senders that are never silent, each is received from as much as
// another.
class Turns {
  public:
    // Any thread may ask.
    bool isEmpty() const { return isEmpty_.load(std::memory_order_relaxed); }
    ConnectionId current() const { return ready_[next_]; }
    void add(ConnectionId ready) {
        ready_.push_back(ready);
        isEmpty_.store(false, std::memory_order_relaxed);
    }
    // A packet of the current one was taken.
    void take() {
        if (++taken_ == kTurn) {
            end();
        }
    }
    void end() {
        taken_ = 0;
        if (++next_ == ready_.size()) {
            ready_.clear();
            next_ = 0;
            isEmpty_.store(true, std::memory_order_relaxed);
        }
    }
    // Who has just been answered has sent nothing more yet.
    void endOf(ConnectionId answered) {
        if (!isEmpty() && current() == answered) {
            end();
        }
    }

  private:
    static constexpr unsigned kTurn = 128;

    std::vector<ConnectionId> ready_;
    size_t next_ = 0;
    unsigned taken_ = 0;
    std::atomic<bool> isEmpty_{true};
};

}  // namespace vcfg::bus
