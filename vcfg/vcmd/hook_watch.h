// Which objects have a refresh hook, for those who read: the hook directory is watched, and the model says it.
#pragma once

#include <string>

#include "fd.h"
#include "hooks.h"
#include "store/store.h"

namespace vcfg::vcmd {

struct HookWatch {
    Fd changes;  // in the directory of the refresh hooks, or in what of its path is there
};

// Begins the watch, and says what there is now. False with errno set when nothing can be watched.
bool openHookWatch(HookWatch& watch, const Hooks& hooks, store::Store& store);
// The same again, when something may have changed since.
void lookForHooks(HookWatch& watch, const Hooks& hooks, store::Store& store);

}  // namespace vcfg::vcmd
