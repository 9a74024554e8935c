#include "keeper.h"

#include "recorder/events.h"
#include "store/persist.h"
#include "vlog.h"

namespace vcfg::vcmd {
namespace {

// The rest of the second is for a slow disk.
constexpr uint32_t kGatherMs = 700;
constexpr uint32_t kRetryMs = 1000;

// The environment must go with the file on either side of the moment at which that becomes another.
int save(const Keeper& keeper, store::Store& store, std::string* why) {
    *why = "memory is short";
    const auto ready = [&store](const struct stat& fresh) { store.standOn(store::markOf(fresh)); };
    return store::guarded(
        [&] { return store::save(keeper.file, store.toText(store::What::Configuration), ready, why); });
}

void noteFailure(Keeper& keeper, const std::string& why) {
    keeper.due = Deadline::in(kRetryMs);
    if (keeper.trouble != why) {
        VCMD_LOG(VLOG_ERROR, "the configuration cannot be saved, which is tried again every second: %s", why.c_str());
        recorder::note("trouble", "the configuration cannot be saved: " + why);
        keeper.trouble = why;
    }
}

void noteSuccess(Keeper& keeper, const store::Store& store) {
    takeAsSaved(keeper, store);
    if (!keeper.trouble.empty()) {
        VCMD_LOG(VLOG_INFO, "the configuration is saved again");
        recorder::note("relief", "the configuration is saved again");
        keeper.trouble.clear();
    }
}

}  // namespace

void takeAsSaved(Keeper& keeper, const store::Store& store) {
    keeper.saved = store.configurationRevision();
    keeper.due = Deadline::never();
}

void takeAsChanged(Keeper& keeper, const store::Store& store) {
    keeper.saved = store.configurationRevision() - 1;
}

void keep(Keeper& keeper, store::Store& store) {
    if (keeper.due.isNever() && store.configurationRevision() != keeper.saved) {
        keeper.due = Deadline::in(kGatherMs);
    }
    std::string why;
    if (keeper.due.passed()) {
        saveNow(keeper, store, &why);
    }
}

bool saveNow(Keeper& keeper, store::Store& store, std::string* why) {
    if (save(keeper, store, why) != VCFG_OK) {
        noteFailure(keeper, *why);
        return false;
    }
    noteSuccess(keeper, store);
    return true;
}

}  // namespace vcfg::vcmd
