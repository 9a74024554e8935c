// What an object stands on: the objects and devices that its parameters name. What has met those explains what nobody
// wrote.
#pragma once

#include <string>
#include <vector>

#include "finding.h"

namespace vcfgctl {

class Surroundings {
  public:
    Surroundings(const Story& story, const Finding& finding);

    // The last run of a hook of the object's own, or of one that it names; null for none.
    const Told* lastHook() const;
    // The latest that links and clients of its devices have met since then, the latest of each; in order of time.
    std::vector<const Told*> metSince(int64_t timeUs) const;

  private:
    void take(const std::string& path);
    bool isNamed(std::string_view device) const;
    // The device that an event is about; empty when it is about none.
    std::string deviceOf(const Told& begin) const;

    const Story& story_;
    std::vector<std::string> paths_;
    std::vector<std::string> values_;
};

// The step that says how the command or hook ended; null when none does.
const Told* endOf(const Story& story, const Told& begin);
// It has not ended, as far as can be said: how it ended is not kept as long as that it began.
bool isRunning(const Story& story, const Told& begin);

}  // namespace vcfgctl
