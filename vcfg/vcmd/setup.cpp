#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "debug_level.h"
#include "store/persist.h"
#include "vcmd.h"
#include "vlog.h"

namespace vcfg::vcmd {
namespace {

constexpr uint32_t kPredecessorMs = 5000;

bool fail(const std::string& why) {
    fprintf(stderr, "vcmd: %s\n", why.c_str());
    return false;
}

// Two processes must never write the same file. A predecessor whose endpoint we have just taken ends by itself.
bool lockData(Vcmd& vcmd) {
    const std::string& directory = vcmd.options.dataDir;
    if (mkdir(directory.c_str(), 0700) != 0 && errno != EEXIST) {
        return fail("the data directory " + directory + " cannot be made: " + strerror(errno));
    }
    vcmd.dataLock = Fd(open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!vcmd.dataLock) {
        return fail("the data directory " + directory + " cannot be opened: " + strerror(errno));
    }
    const Deadline deadline = Deadline::in(kPredecessorMs);
    while (flock(vcmd.dataLock.get(), LOCK_EX | LOCK_NB) != 0) {
        if (!vcmd.server->isCurrent()) {
            return fail("another vcmd has taken the endpoint over");
        }
        if (errno != EWOULDBLOCK || deadline.passed()) {
            return fail("the data directory " + directory + " is in use by another vcmd");
        }
        usleep(5000);
    }
    return true;
}

void logSkipped(const std::string& file, const std::vector<std::string>& skipped) {
    for (const std::string& line : skipped) {
        VCMD_LOG(VLOG_WARNING, "%s: skipped: %s", file.c_str(), line.c_str());
    }
}

// A device must come up with a damaged file too; what is left of it is kept for whoever wants to see it.
void setAside(const std::string& file, const std::string& why) {
    const std::string aside = file + ".bad";
    VCMD_LOG(VLOG_ERROR, "the model's file is kept as %s, the model starts anew: %s", aside.c_str(), why.c_str());
    rename(file.c_str(), aside.c_str());
}

bool loadModel(Vcmd& vcmd) {
    vcmd.file = vcmd.options.dataDir + "/vcfg_config.json";
    std::vector<std::string> skipped;
    std::string why;
    int code = store::load(vcmd.file, &vcmd.store, &skipped, &why);
    if (code == VCFG_ERR_FAIL) {
        return fail(why);
    }
    if (code == VCFG_ERR_INVALID) {
        setAside(vcmd.file, why);
    }
    const bool anew = code != VCFG_OK;
    if (anew && !vcmd.options.defaults.empty()) {
        code = store::load(vcmd.options.defaults, &vcmd.store, &skipped, &why);
        if (code != VCFG_OK) {
            return fail("the defaults cannot be loaded: " + why);
        }
    }
    logSkipped(anew ? vcmd.options.defaults : vcmd.file, skipped);
    vcmd.savedRevision = anew ? vcmd.store.revision() - 1 : vcmd.store.revision();
    if (!saveModel(vcmd, &why)) {
        VCMD_LOG(VLOG_ERROR, "the model cannot be saved: %s", why.c_str());
    }
    return true;
}

// The run directory is watched before the endpoint is opened, so that no successor goes unseen.
bool openEndpoint(Vcmd& vcmd) {
    const std::string& directory = vcmd.options.runDir;
    int code = vcfg_msg_eidInit(VCFG_EID_VCMD, "vcmd");
    if (code == VCFG_OK && !openAnnouncer(vcmd.announcer, directory)) {
        return fail("the run directory " + directory + " cannot be watched: " + strerror(errno));
    }
    if (code == VCFG_OK) {
        vcmd.server = bus::Server::open(VCFG_EID_VCMD, &code);
    }
    if (vcmd.server != nullptr) {
        return true;
    }
    return fail(code == VCFG_ERR_RIGHTS ? "the run directory " + directory + " belongs to somebody else"
                                        : "endpoint 1 cannot be opened in " + directory);
}

}  // namespace

bool setUp(Vcmd& vcmd) {
    if (!openEndpoint(vcmd) || !lockData(vcmd) || !loadModel(vcmd)) {
        return false;
    }
    vcmd.hooks.directory = vcmd.options.hookDir;
    vcmd.hooks.limitMs = vcmd.options.hookLimitMs;
    vcmd.store.watch([&vcmd](const store::Change& change) {
        noteChange(vcmd.watchers, change, vcmd.writer);
        vcmd.levelsChanged = vcmd.levelsChanged || isDebugLevel(change.path);
    });
    return true;
}

bool saveModel(Vcmd& vcmd, std::string* why) {
    if (vcmd.store.revision() == vcmd.savedRevision) {
        return true;
    }
    const uint32_t revision = vcmd.store.revision();
    if (store::save(vcmd.file, vcmd.store, why) != VCFG_OK) {
        return false;
    }
    vcmd.savedRevision = revision;
    return true;
}

}  // namespace vcfg::vcmd
