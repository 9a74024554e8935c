// The instances that a selection stands for, as vcmd has them.
#pragma once

#include <functional>
#include <vector>

#include "select.h"

namespace vcfgctl {

// Calls `take` for every one, in order. An exit status, reported when not kDone.
using TakeRecord = std::function<void(const objIndex& iid, const void* record)>;
int forEach(const Selection& selection, bool refresh, const TakeRecord& take);

// Whether the only instance that can fit is there; true when there may be several.
bool isThere(const Selection& selection);

// All of them; no record is refreshed. `path` is what was asked for. An alias that nobody has is a failure.
int expand(const Selection& selection, const std::string& path, std::vector<objIndex>* iids);
// A failure: nobody has the alias.
int refuseAlias(const Filter& alias, const std::string& path);

// The path with instance numbers in the place of its filters; each must stand for one instance.
int pin(std::string* path);

}  // namespace vcfgctl
