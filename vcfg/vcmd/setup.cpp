#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "client/holder.h"
#include "client/roster.h"
#include "debug_level.h"
#include "open_model.h"
#include "recorder/events.h"
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
    const Deadline deadline = Deadline::in(kPredecessorMs);
    while (flock(vcmd.dataLock.get(), LOCK_EX | LOCK_NB) != 0) {
        if (vcmd.server->isSuperseded()) {
            return fail("another vcmd has taken the endpoint over");
        }
        if (errno != EWOULDBLOCK || deadline.passed()) {
            return fail("the data directory " + directory + " is in use by another vcmd");
        }
        usleep(5000);
    }
    return true;
}

// Looked at before the endpoint is taken, so that a wrong command line does not end the process that serves it.
bool checkDefaults(const Vcmd& vcmd) {
    struct stat status {};
    store::Store unused;
    std::string why;
    return vcmd.options.defaults.empty() || lstat(vcmd.keeper.file.c_str(), &status) == 0 ||
           store::load(vcmd.options.defaults, store::What::All, &unused, nullptr, &why) == VCFG_OK ||
           fail("the defaults cannot be loaded: " + why);
}

// Looked at before the endpoint is taken too. Who comes in the place of a process that serves the endpoint must be its
// successor, which wants the same data, or be told that it may.
bool mayServe(Vcmd& vcmd) {
    const std::string& directory = vcmd.options.dataDir;
    vcmd.dataLock = Fd(open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!vcmd.dataLock) {
        return fail("the data directory " + directory + " cannot be opened: " + strerror(errno));
    }
    const bus::Holder holder = bus::holderOf(VCFG_EID_VCMD);
    if (!holder.isThere() || vcmd.options.takeOver ||
        (holder.program == bus::ownProgram() && flock(vcmd.dataLock.get(), LOCK_EX | LOCK_NB) != 0)) {
        return true;
    }
    return fail("endpoint 1 is served by " + holder.text() + " with other data; with --take-over it is taken from it");
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
    return fail(code == VCFG_ERR_RIGHTS
                    ? "the run directory " + directory + " belongs to somebody else, or others may write it"
                    : "endpoint 1 cannot be opened in " + directory);
}

// A secret's values are not told.
void recordChange(const store::Change& change) {
    const model::Parameter* parameter = change.parameter;
    const bool isSecret = parameter != nullptr && parameter->isSecret();
    const auto told = [isSecret](const std::optional<std::string>& value) -> std::optional<std::string_view> {
        return isSecret && value && !value->empty() ? std::optional(model::kHidden) : value;
    };
    const auto place = parameter != nullptr ? parameter - change.object->parameters.data() : recorder::kNoParameter;
    recorder::changed(change.object->oid, static_cast<uint16_t>(place), change.iid, told(change.before),
                      told(change.after));
}

}  // namespace

bool setUp(Vcmd& vcmd) {
    vcmd.keeper.file = vcmd.options.dataDir + "/vcfg_config.json";
    if (!checkDefaults(vcmd) || !mayServe(vcmd) || !openEndpoint(vcmd) || !lockData(vcmd) || !openModel(vcmd)) {
        return false;
    }
    vcmd.hooks.directory = vcmd.options.hookDir;
    vcmd.hooks.limitMs = vcmd.options.hookLimitMs;
    if (!openHookWatch(vcmd.hookWatch, vcmd.hooks, vcmd.store)) {
        return fail("the hook directory " + vcmd.options.hookDir + " cannot be watched: " + strerror(errno));
    }
    vcmd.store.watch([&vcmd](const store::Change& change) {
        noteChange(vcmd.watchers, change, vcmd.store.writer());
        recordChange(change);
        vcmd.levelsChanged = vcmd.levelsChanged || isDebugLevel(change.path);
    });
    return true;
}

}  // namespace vcfg::vcmd
