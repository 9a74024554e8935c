#include "device.h"

#include <cstdio>
#include <cstring>

namespace {

// The first word of a file of the device's; empty when there is none. A name that leads elsewhere is no device.
std::string wordOf(const std::string& device, const std::string& file) {
    char word[64] = {};
    if (device.empty() || device.find('/') != std::string::npos || device.starts_with('.')) {
        return {};
    }
    FILE* const opened = fopen(("/sys/class/net/" + device + "/" + file).c_str(), "re");
    if (opened == nullptr) {
        return {};
    }
    const bool found = fscanf(opened, "%63s", word) == 1;
    fclose(opened);
    return found ? word : std::string();
}

struct Counter {
    const char* parameter;
    const char* file;
};
constexpr Counter kCounters[] = {
    {"BytesSent", "tx_bytes"},
    {"BytesReceived", "rx_bytes"},
    {"PacketsSent", "tx_packets"},
    {"PacketsReceived", "rx_packets"},
    {"ErrorsSent", "tx_errors"},
    {"ErrorsReceived", "rx_errors"},
    {"DiscardPacketsSent", "tx_dropped"},
    {"DiscardPacketsReceived", "rx_dropped"},
    {"MulticastPacketsReceived", "multicast"},
};

}  // namespace

void addStats(const std::string& device, Payload& values) {
    for (const Counter& counter : kCounters) {
        values.number(counter.parameter, wordOf(device, std::string("statistics/") + counter.file));
    }
}
