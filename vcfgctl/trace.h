// The recorder as a tree: what happened, and below it what came of that.
#pragma once

#include <set>
#include <string>

#include "story.h"

namespace vcfgctl {

struct Wanted {
    std::string path;     // of a parameter or an object, "*" for any instance; empty for all
    uint32_t event = 0;   // this one's tree
    std::string process;  // a program's name or a process's number
    int64_t sinceUs = 0;  // monotonic
};

// The events that fit, all that led to them and all that came of them.
std::set<uint32_t> choose(const Story& story, const Wanted& wanted);

void printTree(const Story& story, const std::set<uint32_t>& events);

}  // namespace vcfgctl
