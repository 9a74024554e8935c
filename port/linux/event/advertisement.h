// Router advertisements as they come from the network.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

struct Advertisement {
    std::string router;
    unsigned lifetimeSeconds = 0;
    bool managed = false;
    bool other = false;
    unsigned preference = 0;  // the two bits as they stand in the flags
    std::string prefix;       // the first one advertised; empty without
    unsigned prefixLength = 0;
};

// The ICMPv6 message of that sender; nothing when it is no whole router advertisement.
std::optional<Advertisement> readAdvertisement(const uint8_t* data, size_t size, const std::string& router);

// The daemon's payload for one that came in on the device.
std::string advertisementPayload(const Advertisement& advertisement, const std::string& device);
