#include "announce.h"

#include <sys/inotify.h>
#include <sys/stat.h>
#include <vcfg/msg_types.h>

#include "client/bus_client.h"
#include "client/link.h"
#include "client/run_dir.h"
#include "message.h"
#include "vlog.h"

namespace vcfg::vcmd {
namespace {

constexpr uint32_t kPauseMs = 20;
constexpr unsigned kMostTries = 250;

}  // namespace

SocketFile socketFile(uint8_t eid) {
    struct stat status {};
    if (stat(bus::socketPath(eid).c_str(), &status) != 0) {
        return {};
    }
    return {status.st_dev, status.st_ino, status.st_ctim};
}

bool openAnnouncer(Announcer& announcer, const std::string& runDir) {
    announcer.watch = Fd(inotify_init1(IN_NONBLOCK | IN_CLOEXEC));
    return announcer.watch &&
           inotify_add_watch(announcer.watch.get(), runDir.c_str(), IN_CREATE | IN_MOVED_TO | IN_DELETE) >= 0;
}

void lookForDaemon(Announcer& announcer) {
    alignas(inotify_event) char events[4096];
    while (read(announcer.watch.get(), events, sizeof events) > 0) {
    }
    const SocketFile now = socketFile(VCFG_EID_TARN);
    if (now == SocketFile{} || now == announcer.announced) {
        return;
    }
    announcer.announced = now;
    announcer.completed = false;
    announcer.due = true;
    announcer.tries = 0;
    announcer.nextTry = Deadline::in(0);
}

void announce(Announcer& announcer) {
    if (!announcer.due || !announcer.nextTry.passed()) {
        return;
    }
    // A connection to the endpoint's former server could still be trusted for a moment.
    bus::dropLink(VCFG_EID_TARN, bus::Way::OneWay);
    const bus::MessagePtr message = newMessage(VCFG_MSG_INIT_DATAMODEL_FIN, VCFG_EID_TARN);
    const int code = message != nullptr ? bus::deliverNow(*message) : VCFG_ERR_FAIL;
    announcer.due = code != VCFG_OK && code != VCFG_DELIVERED && ++announcer.tries < kMostTries;
    announcer.nextTry = announcer.due ? Deadline::in(kPauseMs) : Deadline::never();
    if (code == VCFG_OK || code == VCFG_DELIVERED) {
        VCMD_LOG(VLOG_INFO, "start-up completion is announced to endpoint %d", VCFG_EID_TARN);
    } else if (!announcer.due) {
        VCMD_LOG(VLOG_WARNING, "endpoint %d takes no announcement of start-up completion", VCFG_EID_TARN);
    }
}

}  // namespace vcfg::vcmd
