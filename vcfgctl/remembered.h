// What the daemon remembers from before a chain, as far as a recording shows it: who asked for what it answers now, who
// set the timer that it goes on with, and how it found the links when it looked before.
#pragma once

#include <map>
#include <set>
#include <string>
#include <vector>

#include "belonging.h"

namespace vcfgctl {

class Remembered {
  public:
    void learn(const Bond& bond, json_object* line);

    // The events of others that the chain goes on with: the latest of a request or a timer, all looks at links.
    std::set<uint32_t> behind(const Belonging& chain) const;
    // What the daemon does by itself as it starts, and the first that it takes.
    const std::set<uint32_t>& start() const { return start_; }

  private:
    // What it can be recognised by, and what that asks for.
    struct Fact {
        std::string subject;
        uint32_t event = 0;  // of a message: that which the daemon has taken it as
        bool looksAtLinks = false;
    };
    void put(std::string subject, uint32_t event);
    void learnStart(const Bond& bond, json_object* line);
    uint32_t latest(const std::string& subject, size_t before, const Belonging& chain) const;
    std::set<uint32_t> looksBefore(const Belonging& chain) const;

    std::vector<Fact> facts_;
    std::map<std::string, std::vector<size_t>> bySubject_;
    std::map<int64_t, std::vector<size_t>> messages_;  // by their times
    std::set<uint32_t> start_;
    bool isStarting_ = true;
};

}  // namespace vcfgctl
