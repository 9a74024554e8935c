#include "dhcp_pools.h"

#include "model.h"
#include "words.h"

namespace {

bool isServed(const Dhcpv4ServerPool& pool, const std::string& device) {
    return pool.Enable != 0 && !device.empty() && isAddress(pool.MinAddress.c_str()) &&
           isAddress(pool.MaxAddress.c_str());
}

}  // namespace

std::vector<ServedPool> servedPools() {
    std::vector<ServedPool> pools;
    objIndex iid{};
    while (auto pool = next<Dhcpv4ServerPool>(iid)) {
        const std::string device = deviceOf(pool->Interface.c_str());
        if (isServed(*pool, device)) {
            pools.push_back({iid, std::move(pool), device, "pool" + std::to_string(iid.idx[0])});
        }
    }
    return pools;
}
