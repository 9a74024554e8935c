// When the configuration is written to the flash: soon after it has changed, together with what changed meanwhile.
#pragma once

#include <cstdint>
#include <string>

#include "client/deadline.h"
#include "store/store.h"

namespace vcfg::vcmd {

struct Keeper {
    std::string file;
    uint32_t saved = 0;  // the store's configurationRevision when it was as the file is
    Deadline due = Deadline::never();
    std::string trouble;  // why the last try failed; empty when it did not
};

// The store is as the file is, or may be another.
void takeAsSaved(Keeper& keeper, const store::Store& store);
void takeAsChanged(Keeper& keeper, const store::Store& store);
// Notes a change, and writes what is due.
void keep(Keeper& keeper, store::Store& store);
// Writes now. False with the reason in `why` when that fails: it is tried again every second, and told in the log.
bool saveNow(Keeper& keeper, store::Store& store, std::string* why);

}  // namespace vcfg::vcmd
