#include "lan/wps_start.h"

#include <utility>

#include "lan/wps_messages.h"
#include "lan/wps_poll.h"
#include "lan/wps_status.h"

namespace {

bool isNegative(const vcfg_msg_t* reply) {
    return reply != nullptr && static_cast<int32_t>(reply->statCode) < 0;
}

void startResult(WpsSession& session, int32_t result, const vcfg_msg_t* reply) {
    if (result != VCFG_OK || isRefusal(reply)) {
        wpsApWriteRunningStatus("DeviceBusy", kWpsWriteResult, session.wpsIndex);
        return;
    }
    session.state = kWpsRunning;
    pollWpsLater();
}

}  // namespace

// The web server is told at once what failed; how a setup that began ends, it hears from the polls.
void startWps(WpsSession& session, uint32_t type) {
    MessagePtr stopped;
    wpsMsgSendWifidStop(&session, stopped);
    MessagePtr reply;
    const int32_t result = wpsMsgSendWifidConfig(session, reply);
    Json data = wpsParseReplyMsg(session.state, result, reply.get());
    startResult(session, result, reply.get());
    if (session.startApp == kWpsForWebServer && (result != VCFG_OK || isNegative(reply.get()))) {
        wpsMsgSendVhttpdReplyMsg(type, result, reply.get(), std::move(data));
    }
}

void stopWps(WpsSession& session) {
    MessagePtr reply;
    const int32_t result = wpsMsgSendWifidStop(&session, reply);
    wpsParseReplyMsg(session.state, result, reply.get());
    if (result != VCFG_OK || isRefusal(reply.get())) {
        wpsApWriteRunningStatus("DeviceBusy", kWpsWriteStop, session.wpsIndex);
        return;
    }
    session.state = kWpsIdle;
    wpsApWriteRunningStatus("NoError, WPS stop!", kWpsWriteStop, session.wpsIndex);
}
