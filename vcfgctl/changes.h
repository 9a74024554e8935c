// The changes of the model as vcmd tells them.
#pragma once

#include <cstdint>
#include <deque>
#include <optional>
#include <string>
#include <string_view>

#include "client/deadline.h"

namespace vcfgctl {

struct Change {
    int64_t monotonicUs;
    std::string path;
    std::optional<std::string> before;  // nothing: the instance came with this change
    std::optional<std::string> after;   // nothing: it went
    std::string by;
    uint32_t event = 0;                    // that vcmd was at; 0: not known
    std::optional<uint32_t> refreshedFor;  // the endpoint that has asked; nothing: somebody wrote it
};

class Changes {
  public:
    // `patterns` one a line; none for all. An exit status, reported when not kDone.
    int open(const std::string& patterns);
    // The same without a word about a failure.
    bool tryOpen(const std::string& patterns);
    // A vcfg_code: VCFG_ERR_TIMEOUT when the time is over, another one when there is nobody who would tell.
    int next(const vcfg::Deadline& deadline, Change* change);

  private:
    void take(std::string_view lines);

    std::deque<Change> told_;
};

}  // namespace vcfgctl
