// The daemons' log levels (X_VORAN_DebugLog): who runs is told when they change.
#pragma once

#include <string_view>

#include "store/store.h"

namespace vcfg::vcmd {

// Whether a changed path concerns them.
bool isDebugLevel(std::string_view path);
// Takes vcmd's own level from the model, and tells the daemons theirs. A daemon that does not run reads it at its
// start.
void tellDebugLevels(const store::Store& store);

}  // namespace vcfg::vcmd
