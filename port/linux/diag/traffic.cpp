// The network devices' own counters.
#include <net/if.h>

#include <cstdio>
#include <memory>

#include "transfer.h"

namespace {

struct Free {
    void operator()(struct if_nameindex* list) const { if_freenameindex(list); }
};

uint64_t counter(const std::string& device, const char* name) {
    FILE* const file = fopen(("/sys/class/net/" + device + "/statistics/" + name).c_str(), "re");
    unsigned long long value = 0;
    if (file != nullptr) {
        value = fscanf(file, "%llu", &value) == 1 ? value : 0;
        fclose(file);
    }
    return value;
}

}  // namespace

std::map<std::string, Traffic> deviceTraffic() {
    const std::unique_ptr<struct if_nameindex, Free> list(if_nameindex());
    std::map<std::string, Traffic> traffic;
    for (const auto* device = list.get(); device != nullptr && device->if_index != 0; ++device) {
        traffic[device->if_name] = {counter(device->if_name, "rx_bytes"), counter(device->if_name, "tx_bytes")};
    }
    return traffic;
}
