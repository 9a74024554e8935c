// Whose turn it is to be received from: the ready connections of one endpoint, one after the other.
#pragma once

#include <vector>

#include "bus_server.h"

namespace vcfg::bus {

// epoll names the ready ones in a ring, those that it has named longest ago first, and each that it names gets one turn
// of at most kTurn packets. So of any number of senders that are never silent, each is received from as much as
// another.
class Turns {
  public:
    bool isEmpty() const { return next_ == ready_.size(); }
    ConnectionId current() const { return ready_[next_]; }
    void add(ConnectionId ready) { ready_.push_back(ready); }
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
};

}  // namespace vcfg::bus
