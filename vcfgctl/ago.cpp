#include "ago.h"

#include <array>
#include <cstdio>
#include <ctime>

namespace vcfgctl {

std::string agoText(int64_t timeUs, int64_t nowUs) {
    const double seconds = static_cast<double>(nowUs - timeUs) / 1e6;
    std::array<char, 48> text;
    if (seconds < 120) {
        snprintf(text.data(), text.size(), seconds < 10 ? "%.2f s ago" : "%.1f s ago", seconds);
    } else if (seconds < 7200) {
        snprintf(text.data(), text.size(), "%.0f min ago", seconds / 60);
    } else {
        snprintf(text.data(), text.size(), "%.0f h ago", seconds / 3600);
    }
    return text.data();
}

std::string clockText(int64_t timeUs, int64_t nowUs) {
    timespec wall{};
    tm broken{};
    std::array<char, 64> text;
    clock_gettime(CLOCK_REALTIME, &wall);
    const time_t then = wall.tv_sec - static_cast<time_t>((nowUs - timeUs) / 1000000);
    localtime_r(&then, &broken);
    return strftime(text.data(), text.size(), "%Y-%m-%d %H:%M:%S", &broken) > 0 ? text.data() : "?";
}

}  // namespace vcfgctl
