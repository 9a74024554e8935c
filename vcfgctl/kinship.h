// What came of each event, and of each message, in lines of any order.
#pragma once

#include <cstdint>
#include <map>
#include <vector>

#include "belonging.h"

namespace vcfgctl {

class Kinship {
  public:
    void learn(const Bond& line);
    // The event and all that came of it. What it has sent and begun belongs to it, and so does what it was received as.
    Belonging of(const std::set<uint32_t>& roots) const;

  private:
    std::map<uint32_t, std::vector<uint32_t>> begun_;
    std::map<uint32_t, std::vector<int64_t>> messages_;  // named by their times
    std::map<int64_t, std::vector<uint32_t>> received_;
};

}  // namespace vcfgctl
