// What an object stands on: the objects and devices that its parameters name. What has met those explains what nobody
// wrote.
#pragma once

#include <string>
#include <vector>

#include "finding.h"

namespace vcfgctl {

class Surroundings {
  public:
    // Of an object, by its path; of those that lie on a device.
    Surroundings(const Story& story, const std::string& path);
    static Surroundings ofDevice(const Story& story, const std::string& device);

    // What is wrong with the last run of a hook of the object's own, or of one that it names: the step that says it
    // failed, or its begin when it has not ended; null for nothing.
    const Told* hookTrouble() const;
    // The latest that links and clients of its devices have met since then, and what was noticed of them, the latest of
    // each; in order of time.
    std::vector<const Told*> metSince(int64_t timeUs) const;
    // All parameters of these objects.
    const std::vector<Finding>& parameters() const { return parameters_; }
    // It is one of them, or lies above or below one.
    bool isNear(const std::string& path) const;
    bool isNamed(std::string_view device) const;

  private:
    const Told* lastHook() const;
    explicit Surroundings(const Story& story) : story_(story) {}
    void take(const std::string& path);
    void takeValue(const Finding& finding);
    bool isMet(const Told& told) const;

    const Story& story_;
    std::vector<std::string> paths_;
    std::vector<std::string> values_;
    std::vector<Finding> parameters_;
};

bool isPath(const std::string& value);

}  // namespace vcfgctl
