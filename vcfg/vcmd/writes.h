// What the requests that change the model have in common.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "requests.h"

namespace vcfg::vcmd {

using Bytes = std::vector<std::byte>;

// An instance's record; empty when there is none.
Bytes stored(const Vcmd& vcmd, const model::Object& object, const objIndex& iid);

// What an apply hook reads: the record, and the one before (null for none).
std::string hookInput(const model::Object& object, const void* record, const void* previous);
HookJob applyJob(std::string program, const char* action, const std::string& path, std::string input);
void reportApply(const HookRun& run);

void addInstance(Vcmd& vcmd, Staged& staged);
void deleteInstance(Vcmd& vcmd, Staged& staged);
// The "del" hooks of an instance and of what is below it, in the order in which they must run.
std::vector<HookJob> deleteJobs(Vcmd& vcmd, const model::Object& object, const objIndex& iid);

}  // namespace vcfg::vcmd
