// A gateway with a wireless daemon and eight access points, in the words of a protected setup.
#pragma once

#include <string>
#include <vector>

#include "support/kit.h"

using Lines = std::vector<std::string>;

constexpr uint32_t kWebServer = 15;
constexpr uint32_t kTr069 = 9;
constexpr uint32_t kBothBands = 35;
constexpr uint32_t kStranger = 77;

inline Answer says(uint32_t statCode, std::optional<std::string> data = {}) {
    return {VCFG_OK, statCode, std::move(data), true, {}};
}
inline Answer sendingFails(int code = VCFG_ERR_NO_PEER) {
    return {code, 0, {}, true, {}};
}
inline Answer noAnswer() {
    return {VCFG_OK, 0, {}, false, {}};
}

class WpsGateway : public Gateway {
  public:
    static constexpr const char* kAdded =
        R"({"tmApplyObj":{"Name":"wpsapplyandwait","exprTime":10,"msg_type":-2147479621}})";
    static constexpr const char* kDeleted = R"({"tmApplyObjDelete":"wpsapplyandwait"})";

    WpsGateway() {
        for (int each = 1; each <= 8; ++each) {
            add("WiFi.AccessPoint." + std::to_string(each));
            set("WiFi.AccessPoint." + std::to_string(each) + ".WPS.WPSRunning", "true");
        }
        for (const uint32_t type : {4005u, 4006u, 4007u, 4012u, 4015u}) {
            wireless(type, says(0));
        }
        forget();
    }

    void wireless(uint32_t type, const Answer& answer) { endpointAnswers(VCFG_EID_WIRELESS, type, answer); }
    void statusIs(int wpsStatus) { wireless(4012, says(0, "{\"WPSStatus\":" + std::to_string(wpsStatus) + "}")); }

    static std::string request(uint32_t startApp, const std::string& more = R"("WPSActivationMethod":"PushButton")") {
        return R"({"WPSRunning":true,"WPSIndex":1,"StartApp":)" + std::to_string(startApp) + "," + more + "}";
    }
    void start(const std::string& json) { receive(VCFG_MSG_WPS_START, json); }
    void stop(const std::string& json) { receive(VCFG_MSG_WPS_STOP, json); }
    void poll() { receiveEmpty(VCFG_MSG_WPS_POLL, {0, 0}); }
    void polls(int count) {
        for (int each = 0; each < count; ++each) {
            poll();
        }
    }
    // A session of that requester runs, and nothing is remembered of how it began.
    void running(uint32_t startApp, const std::string& more = R"("WPSActivationMethod":"PushButton")") {
        start(request(kWebServer));
        start(request(startApp, more));
        forget();
    }

    // "type payload" of each request to the wireless daemon.
    Lines asked() const {
        Lines lines;
        for (const SentMessage& message : requests()) {
            if (message.dstEid == VCFG_EID_WIRELESS) {
                lines.push_back(std::to_string(message.type) + " " + message.payload.c_str());
            }
        }
        return lines;
    }
    Lines interfaces() const {
        Lines names;
        for (const SentMessage& message : requests()) {
            if (message.dstEid == VCFG_EID_WIRELESS) {
                names.push_back(message.ifName);
            }
        }
        return names;
    }
    // What the web server was told.
    std::vector<SentMessage> told() const {
        std::vector<SentMessage> messages;
        for (const SentMessage& message : requests()) {
            if (message.dstEid == VCFG_EID_VHTTPD) {
                messages.push_back(message);
            }
        }
        return messages;
    }
    std::string runningStatus(unsigned accessPoint) const { return get(wps(accessPoint) + "X_VORAN_WPSRunningStatus"); }
    std::string runs(unsigned accessPoint) const { return get(wps(accessPoint) + "WPSRunning"); }

    // Whether the session counts as running: only then does a poll ask for the next.
    bool isRunning() {
        forget();
        poll();
        return timerRequests() == Lines{kAdded} || timerRequests().size() > 1;
    }

  private:
    static std::string wps(unsigned accessPoint) { return "WiFi.AccessPoint." + std::to_string(accessPoint) + ".WPS."; }
};
