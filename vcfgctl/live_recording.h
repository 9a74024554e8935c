// A recording while it is made: what several connections tell is put into order, and written down.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "changes.h"
#include "client/deadline.h"
#include "notes.h"
#include "onlooker.h"
#include "passing.h"
#include "recording.h"
#include "sieve.h"
#include "verb.h"

namespace vcfgctl {

class LiveRecording {
  public:
    LiveRecording(const Call& call, uint64_t seconds);
    int run(const std::string& name);

  private:
    int begin(const std::string& name);
    int go();
    int patienceMs() const;
    void takeAll();
    void takeChanges();
    void followAgain();
    void release(int64_t holdUs);
    void put(json_object* line);
    void write(std::variant<Copy, Change>& one);
    json_object* lineOf(Copy& copy);

    const vcfg::Deadline deadline_;
    const int64_t beganUs_ = vcfg::monotonicUs();
    Onlooker onlooker_;
    Changes changes_;
    bool isFollowed_ = true;
    int64_t triedUs_ = 0;
    Passages passages_;
    Hidden hidden_;
    Chains chains_;
    Notes notes_{chains_, hidden_};
    RecordingFile file_;
    std::optional<Sieve> sieve_;  // when only a part is wanted
    std::vector<Copy> copies_;
    std::multimap<int64_t, std::variant<Copy, Change>> held_;
};

}  // namespace vcfgctl
