#include "lan/wps_poll.h"

#include <utility>

#include "core/log.h"
#include "core/timer.h"
#include "lan/wps_messages.h"
#include "lan/wps_status.h"

namespace {

constexpr const char* kPollTask = "wpsapplyandwait";
constexpr int32_t kPollSeconds = 10;
constexpr int32_t kTimeoutSeconds = 120;
constexpr uint32_t kMostWithoutStatus = 2;

void finish(WpsSession& session) {
    pollWpsNoMore();
    session = {};
}

// An access point that is not configured yet may be without a status for a while: that counts as progress.
int32_t wpsMsgStatusOnWpsConfiguredHandle(int32_t result, int32_t wpsStatus) {
    if (result != VCFG_OK) {
        return wpsStatus;
    }
    logs::print("%s\n", __func__);
    return wpsStatus == kWpsNoStatus ? kWpsInProgress : wpsStatus;
}

int32_t countWithoutStatus(WpsSession& session) {
    if (session.noReplyCount < kMostWithoutStatus) {
        ++session.noReplyCount;
        return kWpsNoStatus;
    }
    finish(session);
    return kWpsFailed;
}

// What the status does to the session, and the status that the requester hears.
int32_t follow(WpsSession& session, int32_t result, int32_t wpsStatus) {
    if (session.wpsConfigured != 1) {
        wpsStatus = wpsMsgStatusOnWpsConfiguredHandle(result, wpsStatus);
    }
    switch (wpsStatus) {
        case kWpsNotRunning:
        case kWpsOk:
        case kWpsEnded:
            finish(session);
            return wpsStatus;
        case kWpsNoStatus:
            return countWithoutStatus(session);
        default:
            session.noReplyCount = 0;
            return wpsStatus;
    }
}

void tellWebServer(uint32_t type, int32_t result, const vcfg_msg_t* reply, Json data, int32_t previous,
                   int32_t wpsStatus) {
    if (wpsStatus != previous) {
        if (!data.valid()) {
            data = Json::object();
        }
        data.set("WPSStatus", wpsStatus);
    }
    logs::print("%s: wps status %u %u\n", "wpsMsgStatusHandle", static_cast<uint32_t>(previous),
                static_cast<uint32_t>(wpsStatus));
    wpsMsgSendVhttpdReplyMsg(type, result, reply, std::move(data));
}

// The poll is its requester's to its end, also when it finishes the session. The session without a requester that a
// finish leaves is polled on until its time is over.
void askForStatus(WpsSession& session, uint32_t type) {
    const WpsSession asking = session;
    MessagePtr reply;
    const int32_t result = wpsMsgStatusQryWifidStatus(&session, reply);
    Json data = wpsParseReplyMsg(session.state, result, reply.get());
    const int32_t previous = data.integer("WPSStatus", kWpsNoStatus);
    writeStatusResult(result, reply.get(), previous, asking.wpsIndex);
    if (previous == kWpsInProgress) {
        pollWpsLater();
    }
    const int32_t wpsStatus = follow(session, result, previous);
    if (asking.startApp == kWpsForWebServer) {
        tellWebServer(type, result, reply.get(), std::move(data), previous, wpsStatus);
    }
    if (asking.startApp == kWpsForBothBands) {
        writeStatusResult(result, reply.get(), previous, otherBand(asking.wpsIndex));
    }
    session.state = kWpsRunning;
    pollWpsLater();
}

void timeOut(WpsSession& session) {
    if (session.startApp == kWpsForTr069) {
        MessagePtr stopped;
        wpsMsgSendWifidStop(&session, stopped);
    }
    wpsApWriteRunningStatus("RegistrationSessionTimeout", kWpsWriteTimeout, session.wpsIndex);
    if (session.startApp == kWpsForBothBands) {
        wpsApWriteRunningStatus("RegistrationSessionTimeout", kWpsWriteTimeout, otherBand(session.wpsIndex));
    }
    session.state = kWpsIdle;
}

}  // namespace

void pollWps(WpsSession& session, uint32_t type) {
    session.elapsed += kPollSeconds;
    if (session.elapsed >= kTimeoutSeconds) {
        timeOut(session);
    } else if (isWpsRequester(session.startApp)) {
        askForStatus(session, type);
    } else {
        pollWpsLater();
    }
}

void pollWpsLater() {
    tarnApplyAddObjectTmTask(kPollTask, kPollSeconds, static_cast<int32_t>(VCFG_MSG_WPS_POLL), nullptr);
}

void pollWpsNoMore() {
    tarnApplyDeleteObjectTmTask(kPollTask);
}
