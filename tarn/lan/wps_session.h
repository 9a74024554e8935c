// The record of a WPS session, and the request that it is taken from.
#pragma once

#include <vcfg/text.h>

#include <cstdint>
#include <string_view>

enum WpsState : uint32_t { kWpsIdle = 0, kWpsRunning = 3 };

// Who may start a session. The application that sets up both bands at once has two access points follow it.
enum WpsRequester : uint32_t { kWpsForTr069 = 9, kWpsForWebServer = 15, kWpsForBothBands = 35 };

// How the wireless daemon's setup is going. What is greater than kWpsOk is a failure.
enum WpsStatus : int32_t {
    kWpsNoStatus = -1,  // it did not say
    kWpsNotRunning = 0,
    kWpsInProgress = 1,
    kWpsOk = 2,
    kWpsFailed = 3,
    kWpsEnded = 8,
};

struct WpsSession {
    uint32_t state = kWpsIdle;
    uint32_t noReplyCount = 0;  // polls in a row without a status
    int32_t elapsed = 0;        // seconds, by the polls
    uint32_t wpsIndex = 0;      // access point, 1 to 8; 0 for none
    uint32_t startApp = 0;      // WpsRequester, or whoever else asked
    uint8_t wpsConfigured = 0;
    vcfg::Text<18> ifName{};
    vcfg::Text<10> activationMethod{};  // "PushButton", "StationPIN" or "ApPIN"
    vcfg::Text<10> stationPin{};
    vcfg::Text<10> devicePin{};
};

bool isWpsRequester(uint32_t startApp);

// The access point on the other band, which follows a setup of both.
uint32_t otherBand(uint32_t wpsIndex);

// Takes the parameters of a request over, and forgets all of the session but its state. False for a text that is no
// JSON object, which changes nothing.
bool takeWpsRequest(WpsSession& session, const char* text);
