// Which message became which event of its receiver: what is sent and what is received are told by two processes.
#pragma once

#include <cstdint>
#include <deque>
#include <map>
#include <optional>

#include "onlooker.h"

namespace vcfgctl {

class Chains {
  public:
    struct Sent {
        int64_t timeUs = 0;
        uint32_t event = 0;  // that its sender was at; 0: not known
        bool isShown = false;
    };

    void sent(const Copy& message, bool isShown);
    // Of the message that has this envelope, which became that event: the first that nobody has received yet.
    std::optional<Sent> received(const vcfg_msg_t& envelope, uint32_t event);
    // On whose behalf the event is: that of who sent what it began with, or itself.
    uint32_t behind(uint32_t event) const;

  private:
    struct Waiting {
        vcfg_msg_t envelope;
        Sent sent;
    };

    std::deque<Waiting> waiting_;  // the oldest first
    std::map<uint32_t, uint32_t> behind_;
};

}  // namespace vcfgctl
