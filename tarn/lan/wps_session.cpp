#include "lan/wps_session.h"

#include "core/json.h"
#include "core/log.h"

namespace {

constexpr int32_t kMostAccessPoints = 8;
constexpr uint32_t kIndexOf2G = 1;
constexpr uint32_t kIndexOf5G = 5;

template <size_t N>
void takeText(vcfg::Text<N>& field, const Json& request, const char* key) {
    if (const auto text = request.text(key)) {
        field = *text;
        logs::print("%s: %s\n", key, field.c_str());
    }
}

void takeStartApp(WpsSession& session, const Json& request) {
    const auto startApp = static_cast<uint32_t>(request.integer("StartApp"));
    if (startApp != 0) {
        session.startApp = startApp;
        logs::print("startApp: %u\n", startApp);
    }
}

void takePin(WpsSession& session, const Json& request) {
    if (session.activationMethod == "StationPIN") {
        takeText(session.stationPin, request, "X_VORAN_WPS_StationPin");
    } else if (session.activationMethod == "ApPIN") {
        takeText(session.devicePin, request, "X_VORAN_WPS_DevicePin");
    }
}

uint32_t indexOf(const Json& request) {
    const int32_t index = request.integer("WPSIndex");
    return index >= 1 && index <= kMostAccessPoints ? static_cast<uint32_t>(index) : 0;
}

}  // namespace

bool isWpsRequester(uint32_t startApp) {
    return startApp == kWpsForTr069 || startApp == kWpsForWebServer || startApp == kWpsForBothBands;
}

uint32_t otherBand(uint32_t wpsIndex) {
    return wpsIndex == kIndexOf2G ? kIndexOf5G : kIndexOf2G;
}

bool takeWpsRequest(WpsSession& session, const char* text) {
    const Json request = Json::parse(text);
    if (!request.valid()) {
        return false;
    }
    const uint32_t state = session.state;
    session = {};
    session.state = state;
    session.wpsIndex = indexOf(request);
    session.wpsConfigured = !request.has("X_VORAN_WPS_Configured") || request.flag("X_VORAN_WPS_Configured") ? 1 : 0;
    takeStartApp(session, request);
    takeText(session.ifName, request, "X_VORAN_IfName");
    takeText(session.activationMethod, request, "WPSActivationMethod");
    takePin(session, request);
    return true;
}
