#include "lan/wps.h"
#include "unit/costs.h"

namespace {

constexpr const char* kRequest = R"({"WPSRunning":true,"WPSIndex":1,"StartApp":15,"WPSActivationMethod":"PushButton"})";

void accessPoint(WanGateway& gw) {
    gw.add("WiFi.AccessPoint.1");
    for (const uint32_t type : {4006u, 4012u, 4015u}) {
        gw.endpointAnswers(VCFG_EID_WIRELESS, type, {VCFG_OK, 0, R"({"WPSStatus":1})", true, {}});
    }
}
void running(WanGateway& gw) {
    accessPoint(gw);
    gw.receive(VCFG_MSG_WPS_START, kRequest);
}
void succeeded(WanGateway& gw) {
    running(gw);
    gw.endpointAnswers(VCFG_EID_WIRELESS, 4012, {VCFG_OK, 0, R"({"WPSStatus":2})", true, {}});
}
void pastItsTime(WanGateway& gw) {
    running(gw);
    for (int each = 1; each < 12; ++each) {
        gw.receiveEmpty(VCFG_MSG_WPS_POLL, {0, 0});
    }
}
void poll(WanGateway& gw) {
    gw.receiveEmpty(VCFG_MSG_WPS_POLL, {0, 0});
}

}  // namespace

CostCases wirelessCosts() {
    return {
        {VCFG_MSG_WPS_START, "protected setup starts", accessPoint,
         [](WanGateway& gw) { gw.receive(VCFG_MSG_WPS_START, kRequest); }},
        {VCFG_MSG_WPS_POLL, "protected setup polled, in progress", running, poll},
        {VCFG_MSG_WPS_POLL, "protected setup polled, succeeded", succeeded, poll},
        {VCFG_MSG_WPS_POLL, "protected setup polled, its time is over", pastItsTime, poll},
        {VCFG_MSG_WPS_START, "protected setup starts again", running,
         [](WanGateway& gw) { gw.receive(VCFG_MSG_WPS_START, kRequest); }},
        {VCFG_MSG_WPS_STOP, "protected setup stopped while it runs", running,
         [](WanGateway& gw) { gw.receive(VCFG_MSG_WPS_STOP, R"({"WPSIndex":1})"); }},
        {VCFG_MSG_WPS_STOP, "protected setup stopped while none runs", accessPoint,
         [](WanGateway& gw) { gw.receive(VCFG_MSG_WPS_STOP, R"({"WPSIndex":1})"); }},
    };
}
