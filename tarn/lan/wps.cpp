#include "lan/wps.h"

#include <mutex>
#include <string>

#include "core/fair_lock.h"
#include "core/log.h"
#include "core/message.h"
#include "lan/wps_messages.h"
#include "lan/wps_poll.h"
#include "lan/wps_session.h"
#include "lan/wps_start.h"

namespace {

FairLock turn;       // the messages of both bus threads, one at a time
WpsSession session;  // belongs to the message whose turn it is

void startAgain(uint32_t type) {
    pollWpsNoMore();
    if (isWpsRequester(session.startApp)) {
        startWps(session, type);
        return;
    }
    pollWpsLater();
    session.elapsed = 0;
}

// The session still counts as running, and nothing polls it any more.
void stopWhileRunning() {
    pollWpsNoMore();
    MessagePtr stopped;
    wpsMsgSendWifidStop(&session, stopped);
}

void whileIdle(uint32_t type) {
    if (type == VCFG_MSG_WPS_START && isWpsRequester(session.startApp)) {
        startWps(session, type);
    } else if (type == VCFG_MSG_WPS_STOP) {
        stopWps(session);
    }
}

void whileRunning(uint32_t type) {
    switch (type) {
        case VCFG_MSG_WPS_POLL:
            pollWps(session, type);
            break;
        case VCFG_MSG_WPS_START:
            startAgain(type);
            break;
        case VCFG_MSG_WPS_STOP:
            stopWhileRunning();
            break;
        default:
            break;
    }
}

bool takeData(std::string_view data) {
    const std::string text(data);
    VLOG(VLOG_DEBUG, "wpsParamStr = %s", text.c_str());
    if (!takeWpsRequest(session, text.c_str())) {
        VLOG(VLOG_ERROR, "the WPS request is not a JSON object");
        return false;
    }
    return true;
}

}  // namespace

uint32_t wpsMsgStatusHandle(uint32_t type, std::string_view data) {
    const std::lock_guard lock(turn);
    if (!data.empty() && !takeData(data)) {
        return 0;
    }
    if (session.state == kWpsIdle) {
        whileIdle(type);
    } else {
        whileRunning(type);
    }
    return 1;
}

void forgetWpsSession() {
    session = {};
}
