// What programs tell of themselves beside their messages, as lines of a recording.
#pragma once

#include <map>
#include <string>
#include <utility>

#include "chains.h"
#include "hidden.h"
#include "json.h"

namespace vcfgctl {

class Notes {
  public:
    Notes(Chains& chains, const Hidden& hidden) : chains_(chains), hidden_(hidden) {}

    // Null for what is no line of its own: a command is one when it has ended.
    json_object* take(const Copy& copy, int64_t beganUs);

  private:
    json_object* received(const Copy& copy, std::string_view envelope, int64_t beganUs);
    json_object* said(const Copy& copy, const std::string& log, std::string_view text, int64_t beganUs) const;
    json_object* hookEnded(const Copy& copy, const std::string& hook, std::string_view said, int64_t beganUs) const;

    Chains& chains_;
    const Hidden& hidden_;
    struct Command {
        std::string text;
        uint32_t cause = 0;
    };
    std::map<std::pair<pid_t, uint32_t>, Command> running_;  // that a thread waits for
};

}  // namespace vcfgctl
