#include "lan/wps_messages.h"

#include <cstring>
#include <string>

#include "core/log.h"

namespace {

constexpr uint32_t kPatienceMs = 5000;
constexpr int32_t kNoSuchMethod = -4;

std::string_view interfaceOf(const WpsSession& session) {
    return session.startApp == kWpsForBothBands ? std::string_view() : session.ifName.view();
}

void putText(vcfg_msg_t& message, const std::string& text) {
    message.length = static_cast<uint16_t>(text.size() + 1);
    memcpy(vcfg_msg_payload(&message), text.c_str(), text.size() + 1);
}

// A request to the wireless daemon; empty when memory is short, which is logged.
MessagePtr requestTo(uint32_t type, const std::string& text, std::string_view ifName) {
    MessagePtr request = newRequest(type, VCFG_EID_WIRELESS, text.size() + 1);
    if (request != nullptr) {
        ifName.copy(reinterpret_cast<char*>(request->reserved), VCFG_MSG_IFNAME_SIZE);
        putText(*request, text);
    }
    return request;
}

int32_t ask(MessagePtr request, MessagePtr& reply) {
    vcfg_msg_t* answer = nullptr;
    const int32_t result = vcfg_msg_sendAndGetReply(request.release(), &answer, kPatienceMs);
    reply.reset(answer);
    return result;
}

Json forAccessPoint(const WpsSession* session) {
    Json data = Json::object();
    data.set("SSIDRef", session != nullptr ? session->wpsIndex : 0);
    return data;
}

// The PIN of either kind goes under the same key.
Json withPin(const WpsSession& session, std::string_view pin) {
    Json data = forAccessPoint(&session);
    data.set("StationPin", pin);
    return data;
}

MessagePtr configRequest(const WpsSession& session) {
    if (session.activationMethod == "PushButton") {
        const uint32_t type = session.startApp == kWpsForBothBands ? VCFG_MSG_WLAN_WPS_PUSH_BUTTON_BOTH_BANDS
                                                                   : VCFG_MSG_WLAN_WPS_PUSH_BUTTON;
        return requestTo(type, forAccessPoint(&session).toText(), interfaceOf(session));
    }
    const auto pin = session.activationMethod == "StationPIN" ? session.stationPin : session.devicePin;
    return requestTo(VCFG_MSG_WLAN_WPS_PIN, withPin(session, pin.view()).toText(), interfaceOf(session));
}

bool isMethod(std::string_view method) {
    return method == "PushButton" || method == "StationPIN" || method == "ApPIN";
}

int32_t askAboutInterface(const char* caller, const WpsSession* session, MessagePtr request, MessagePtr& reply) {
    if (request == nullptr) {
        return VCFG_ERR_FAIL;
    }
    const int32_t result = ask(std::move(request), reply);
    logs::print("%s: ifname %s, send msg rst = %d\n", caller, session != nullptr ? session->ifName.c_str() : "none",
                result);
    return result;
}

}  // namespace

int32_t wpsMsgSendWifidConfig(const WpsSession& session, MessagePtr& reply) {
    if (!isMethod(session.activationMethod)) {
        return kNoSuchMethod;
    }
    if (session.activationMethod == "StationPIN") {
        logs::print("%s: utilize StationPIN %s\n", __func__, session.stationPin.c_str());
    }
    MessagePtr request = configRequest(session);
    if (request == nullptr) {
        return VCFG_ERR_FAIL;
    }
    const int32_t result = ask(std::move(request), reply);
    logs::print("%s: send msg rst = %d\n", __func__, result);
    return result;
}

int32_t wpsMsgSendWifidStop(const WpsSession* session, MessagePtr& reply) {
    const std::string_view ifName = session != nullptr ? interfaceOf(*session) : std::string_view();
    return askAboutInterface(__func__, session,
                             requestTo(VCFG_MSG_WLAN_WPS_STOP, forAccessPoint(session).toText(), ifName), reply);
}

int32_t wpsMsgStatusQryWifidStatus(const WpsSession* session, MessagePtr& reply) {
    const std::string_view ifName = session != nullptr ? session->ifName.view() : std::string_view();
    return askAboutInterface(__func__, session, requestTo(VCFG_MSG_WLAN_WPS_STATUS, "[\"WPSStatus\"]", ifName), reply);
}

Json wpsParseReplyMsg(uint32_t state, int32_t result, const vcfg_msg_t* reply) {
    logs::print("%s: now status: %d\n", __func__, static_cast<int32_t>(state));
    logs::print("%s: rst: %d\n", __func__, result);
    if (reply == nullptr) {
        return Json::parse(nullptr);
    }
    logs::print("%s: statCode: %d\n", __func__, static_cast<int32_t>(reply->statCode));
    if (reply->length == 0) {
        return Json::parse(nullptr);
    }
    logs::print("%s: replyMsgData: %s\n", __func__, vcfg_msg_text(reply));
    return Json::parse(vcfg_msg_text(reply));
}

void wpsMsgSendVhttpdReplyMsg(uint32_t type, int32_t result, const vcfg_msg_t* reply, Json data) {
    if (!data.valid()) {
        data = Json::object();
    }
    data.set("rst", result);
    data.set("msg_type", type);
    const std::string text = data.toText();
    if (text.size() >= VCFG_MSG_PAYLOAD_MAX) {
        VLOG(VLOG_ERROR, "the web server cannot be told %zu bytes", text.size());
        return;
    }
    MessagePtr outcome = newRequest(VCFG_MSG_WPS_OUTCOME, VCFG_EID_VHTTPD, text.size() + 1);
    if (outcome == nullptr) {
        return;
    }
    if (reply != nullptr) {
        *outcome = *reply;
    }
    outcome->type = VCFG_MSG_WPS_OUTCOME;
    outcome->srcEid = VCFG_EID_TARN;
    outcome->dstEid = VCFG_EID_VHTTPD;
    putText(*outcome, text);
    VLOG(VLOG_DEBUG, "replyMsgData: %s", text.c_str());
    const int sent = vcfg_msg_sendAndGetReply(outcome.release(), nullptr, kPatienceMs);
    if (sent != VCFG_DELIVERED) {
        VLOG(VLOG_ERROR, "the web server is not told: %d", sent);
        return;
    }
    VLOG(VLOG_DEBUG, "msg sent");
}
