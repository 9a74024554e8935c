#include "time_text.h"

#include <time.h>

#include <cstdio>
#include <cstdlib>

namespace {

std::string text(const char* format, const tm& moment) {
    char buffer[32];
    return std::string(buffer, strftime(buffer, sizeof buffer, format, &moment));
}

// A text that could name a file outside the zone database is no zone.
bool mayBeZone(const std::string& zone) {
    return zone.find_first_of(":./") != 0 && zone.find("..") == std::string::npos;
}

std::string distance(const tm& moment) {
    constexpr long kMinute = 60;
    constexpr long kHour = 60 * kMinute;
    if (moment.tm_gmtoff == 0) {
        return "Z";
    }
    const long seconds = labs(moment.tm_gmtoff);
    char buffer[16];
    snprintf(buffer, sizeof buffer, "%c%02ld:%02ld", moment.tm_gmtoff < 0 ? '-' : '+', seconds / kHour % 24,
             seconds % kHour / kMinute);
    return buffer;
}

}  // namespace

std::string utcNow() {
    const time_t now = time(nullptr);
    tm moment{};
    gmtime_r(&now, &moment);
    return text("%Y-%m-%dT%H:%M:%SZ", moment);
}

std::string localNow(const std::string& zone) {
    setenv("TZ", zone.empty() || !mayBeZone(zone) ? "UTC0" : zone.c_str(), 1);
    tzset();
    const time_t now = time(nullptr);
    tm moment{};
    localtime_r(&now, &moment);
    return text("%Y-%m-%dT%H:%M:%S", moment) + distance(moment);
}
