// Lets through of a recording what belongs to a chain, and what has to be there to play it.
#pragma once

#include <string>
#include <utility>

#include "belonging.h"
#include "recording.h"

namespace vcfgctl {

class Sieve {
  public:
    // What is wanted, for the recording's first line.
    Sieve(RecordingFile& file, std::string about) : file_(file), about_(std::move(about)) {}

    // The chain that is wanted; before any line.
    Belonging chain;
    // What the daemon says before it is at anything is wanted, too.
    bool isWithStart = false;
    // As they happen: each thing that reaches somebody and has this text in it begins a chain, too.
    void beginWith(const std::string& text) { text_ = text; }

    void take(JsonPtr line);

  private:
    bool isOfStart(const Bond& bond, json_object* line) const;
    bool begins(const Bond& bond, json_object* line) const;
    void takeChange(JsonPtr line, bool belongs);

    RecordingFile& file_;
    const std::string about_;
    std::string text_;
    JsonPtr datagram_;  // comes right before the event that it is, unless it tells of that itself
};

}  // namespace vcfgctl
