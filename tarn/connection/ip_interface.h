// Ways to IP interfaces and what several events do with them.
#pragma once

#include <optional>
#include <string_view>

#include "core/record.h"

// The interface whose lower layer is exactly that path.
std::optional<objIndex> ipInterfaceOn(std::string_view lowerLayer);

// The first address (IpInterfaceIpv4Address or IpInterfaceIpv6Address) of an interface is no longer in use. Returns 0,
// also when there is none to disable, or the code of the refused write.
template <class Address>
int disableFirstAddress(const objIndex& ipInterface) {
    auto address = firstChild<Address>(ipInterface);
    if (!address || !address->Enable || address->Status != "Enabled") {
        return VCFG_OK;
    }
    address->Status = "Disabled";
    return address.apply();
}
