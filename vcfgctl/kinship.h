// What came of each event, and of each message.
#pragma once

#include <cstdint>
#include <map>
#include <set>
#include <vector>

namespace vcfgctl {

class Kinship {
  public:
    void begun(uint32_t event, uint32_t cause) { begun_[cause].push_back(event); }
    // A message is named by its time.
    void sent(uint32_t event, int64_t message) { messages_[event].push_back(message); }
    void received(uint32_t event, int64_t message) {
        sent(event, message);
        received_[message].push_back(event);
    }

    struct Family {
        std::set<uint32_t> events;
        std::set<int64_t> messages;
    };
    // The event and all that came of it. What it has sent and begun belongs to it, and so does what it was received as.
    Family of(uint32_t event) const;

  private:
    std::map<uint32_t, std::vector<uint32_t>> begun_;
    std::map<uint32_t, std::vector<int64_t>> messages_;
    std::map<int64_t, std::vector<uint32_t>> received_;
};

}  // namespace vcfgctl
