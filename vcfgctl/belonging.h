// What belongs to an event: what it goes back to, and all that came of that, in whatever process.
#pragma once

#include <cstdint>
#include <set>
#include <string>
#include <utility>

#include "json.h"

namespace vcfgctl {

// What a line of a recording says of chains.
struct Bond {
    std::string kind;
    int64_t at = 0;
    int64_t of = 0;  // when the message was sent that has been received
    uint32_t event = 0;
    uint32_t cause = 0;

    bool isMessage() const { return kind == "message" || kind == "call"; }
};
Bond bondOf(json_object* line);
int64_t numberIn(json_object* line, const char* name);
std::string textIn(json_object* line, const char* name);

class Belonging {
  public:
    Belonging() = default;
    Belonging(std::set<uint32_t> events, std::set<int64_t> messages)
        : events_(std::move(events)), messages_(std::move(messages)) {}
    void begin(uint32_t event) { events_.insert(event); }
    void beginWithMessage(int64_t at) { messages_.insert(at); }
    bool contains(uint32_t event) const { return events_.contains(event); }
    // Learns from the line; whether it belongs there, by what is known by now.
    bool take(const Bond& line);

  private:
    std::set<uint32_t> events_;
    std::set<int64_t> messages_;
};

}  // namespace vcfgctl
