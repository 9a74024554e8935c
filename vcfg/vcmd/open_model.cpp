// Where the model begins: as a predecessor has left it, or from the file.
#include "open_model.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "client/run_dir.h"
#include "store/persist.h"
#include "store/takeover.h"
#include "vlog.h"

namespace vcfg::vcmd {
namespace {

using store::Condition;

bool fail(const std::string& why) {
    fprintf(stderr, "vcmd: %s\n", why.c_str());
    return false;
}

void logSkipped(const std::string& file, const store::Skipped& skipped) {
    for (const std::string& line : skipped.lines) {
        VCMD_LOG(VLOG_WARNING, "%s: skipped: %s", file.c_str(), line.c_str());
    }
    if (skipped.more > 0) {
        VCMD_LOG(VLOG_WARNING, "%s: skipped: %zu more", file.c_str(), skipped.more);
    }
}

// A device must come up with a damaged file too; what is left of it is kept for whoever wants to see it.
void startAnew(const std::string& file, const std::string& why) {
    const bool kept = store::setAside(file);
    VCMD_LOG(VLOG_ERROR, "the model's file %s %s.bad, the model starts anew: %s", kept ? "is kept as" : "cannot become",
             file.c_str(), why.c_str());
}

// False when there is nothing to load.
bool loadFile(Vcmd& vcmd, const std::string& file, store::What what, int* code, std::string* why) {
    store::Skipped skipped;
    *code = store::load(file, what, &vcmd.store, &skipped, why);
    logSkipped(file, skipped);
    return *code == VCFG_OK;
}

// The model's file was damaged and so are the defaults: a device without values is still better than none.
bool loadDefaults(Vcmd& vcmd, std::string* why) {
    int code = VCFG_OK;
    if (!vcmd.options.defaults.empty()) {
        if (loadFile(vcmd, vcmd.options.defaults, store::What::All, &code, why)) {
            return true;
        }
        VCMD_LOG(VLOG_ERROR, "the defaults cannot be loaded, the model starts empty: %s", why->c_str());
    }
    return vcmd.store.clear(why) == VCFG_OK;
}

int loadModel(Vcmd& vcmd, std::string* why) {
    int code = VCFG_OK;
    const std::string& file = vcmd.keeper.file;
    const bool loaded = loadFile(vcmd, file, store::What::Configuration, &code, why);
    if (code == VCFG_ERR_FAIL || code == VCFG_ERR_FULL) {
        return code;
    }
    if (code == VCFG_ERR_INVALID) {
        startAnew(file, *why);
    }
    if (!loaded && !loadDefaults(vcmd, why)) {
        return VCFG_ERR_FULL;
    }
    if (loaded) {
        takeAsSaved(vcmd.keeper, vcmd.store);
    } else {
        std::string told;
        saveNow(vcmd.keeper, vcmd.store, &told);
    }
    return vcmd.store.standOn(store::markOf(file));
}

// What the predecessor had in the model but not in its file yet is saved as any change is.
bool takeOver(Vcmd& vcmd) {
    vcmd.store = store::Store(store::openForWriting(store::dataFile(vcmd.options.runDir), vcmd.options.modelSize));
    takeAsChanged(vcmd.keeper, vcmd.store);
    return true;
}

// Readers see what was there before until all of the new model is.
bool makeAnew(Vcmd& vcmd) {
    const std::string& directory = vcmd.options.runDir;
    gid_t group = static_cast<gid_t>(-1);
    static_cast<void>(bus::runDirectoryGroup(&group));
    vcmd.store = store::Store(store::openUnpublished(directory, vcmd.options.modelSize));
    std::string why;
    return loadModel(vcmd, &why) == VCFG_OK
               ? store::publish(directory, group) || fail(store::dataFile(directory) + ": " + strerror(errno))
               : fail(why);
}

bool openIt(Vcmd& vcmd) {
    const std::string& directory = vcmd.options.runDir;
    const store::Finding found = store::inspect(directory, store::markOf(vcmd.keeper.file), vcmd.options.modelSize);
    if (!found.why.empty()) {
        VCMD_LOG(VLOG_WARNING, "the model in %s is made anew: %s", directory.c_str(), found.why.c_str());
    }
    if (found.condition == Condition::Same) {
        return takeOver(vcmd);
    }
    if (found.condition == Condition::Stale) {
        // In the place of the old model, so that who reads that sees the new one at once; if there is room for both.
        vcmd.store = store::Store(store::openForWriting(store::dataFile(directory), vcmd.options.modelSize));
        std::string why;
        const int code = loadModel(vcmd, &why);
        if (code != VCFG_ERR_FULL) {
            return code == VCFG_OK || fail(why);
        }
    }
    return makeAnew(vcmd);
}

}  // namespace

bool openModel(Vcmd& vcmd) {
    try {
        const bool opened = openIt(vcmd);
        vcmd.store.liesIn(store::dataFile(vcmd.options.runDir));
        return opened;
    } catch (const std::exception& failure) {
        return fail("the model " + store::dataFile(vcmd.options.runDir) + " cannot be made: " + failure.what());
    }
}

}  // namespace vcfg::vcmd
