#include "hook_watch.h"

#include <poll.h>
#include <sys/inotify.h>

#include <cerrno>
#include <cstring>

#include "vlog.h"

namespace vcfg::vcmd {
namespace {

constexpr uint32_t kNews =
    IN_CREATE | IN_DELETE | IN_MOVED_FROM | IN_MOVED_TO | IN_DELETE_SELF | IN_MOVE_SELF | IN_ONLYDIR;

// The directory and the one above it, and further up until one is there.
Fd watchPath(std::string path) {
    Fd changes(inotify_init1(IN_NONBLOCK | IN_CLOEXEC));
    for (int watched = 0; changes && watched < 2 && !path.empty(); path.resize(path.rfind('/'))) {
        watched += watched > 0 || inotify_add_watch(changes.get(), path.c_str(), kNews) >= 0 ? 1 : 0;
        if (path.find('/') == path.npos) {
            break;
        }
    }
    return changes;
}

store::Refreshed refreshedBy(const Hooks& hooks) {
    store::Refreshed refreshed{};
    for (const model::Object& object : model::objects()) {
        refreshed[object.oid] = !hookProgram(hooks, HookKind::Refresh, object).empty();
    }
    return refreshed;
}

}  // namespace

bool openHookWatch(HookWatch& watch, const Hooks& hooks, store::Store& store) {
    watch.changes = watchPath(hooks.directory + "/refresh");
    if (store.setRefreshed(refreshedBy(hooks)) != VCFG_OK) {
        VCMD_LOG(VLOG_ERROR, "the model has no room to say which objects are refreshed");
    }
    return static_cast<bool>(watch.changes);
}

void lookForHooks(HookWatch& watch, const Hooks& hooks, store::Store& store) {
    pollfd news{watch.changes.get(), POLLIN, 0};
    if (poll(&news, 1, 0) > 0 && !openHookWatch(watch, hooks, store)) {
        VCMD_LOG(VLOG_ERROR, "the hook directory %s cannot be watched: %s", hooks.directory.c_str(), strerror(errno));
    }
}

}  // namespace vcfg::vcmd
