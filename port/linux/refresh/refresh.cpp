#include "refresh.h"

#include <time.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>

#include "device.h"
#include "lease_end.h"
#include "stored.h"

namespace {

// The first process began when the device did.
unsigned long long startOfFirst() {
    FILE* const file = fopen("/proc/1/stat", "re");
    if (file == nullptr) {
        return 0;
    }
    char line[1024] = {};
    const bool read = fgets(line, sizeof line, file) != nullptr;
    fclose(file);
    const char* field = read ? strrchr(line, ')') : nullptr;
    constexpr int kStartTime = 20;  // fields behind the name
    for (int i = 0; i < kStartTime && field != nullptr; ++i) {
        field = strchr(field + 1, ' ');
    }
    unsigned long long ticks = 0;
    return field != nullptr && sscanf(field, " %llu", &ticks) == 1 ? ticks : 0;
}

template <class Object>
Stored<Object> instanceOf(const std::string& path, const char* table) {
    const int number = numberIn(path, table);
    return number == 0 ? nullptr : stored<Object>(instance(number));
}

}  // namespace

void refreshUpTime(const std::string&, Payload& values) {
    timespec now{};
    clock_gettime(CLOCK_BOOTTIME, &now);
    const auto began = startOfFirst() / static_cast<unsigned long long>(sysconf(_SC_CLK_TCK));
    values.count("UpTime", static_cast<unsigned long long>(now.tv_sec) - began);
}

void refreshLeaseTime(const std::string& path, Payload& values) {
    const auto client = instanceOf<Dhcpv4Client>(path, "DHCPv4.Client.");
    if (client != nullptr && !client->X_VORAN_PidFile.empty()) {
        values.integer("LeaseTimeRemaining", leaseLeft(client->X_VORAN_PidFile.c_str()));
    }
}

void refreshIpStats(const std::string& path, Payload& values) {
    const auto interface = instanceOf<IpInterface>(path, "IP.Interface.");
    addStats(interface == nullptr ? "" : interface->X_VORAN_IfName.c_str(), values);
}

void refreshPppStats(const std::string& path, Payload& values) {
    const auto link = instanceOf<PppInterface>(path, "PPP.Interface.");
    addStats(link == nullptr ? "" : link->X_VORAN_IfName.c_str(), values);
}
