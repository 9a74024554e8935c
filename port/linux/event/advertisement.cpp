#include "advertisement.h"

#include <arpa/inet.h>
#include <netinet/icmp6.h>

#include "payload.h"

namespace {

constexpr size_t kHeaderSize = 16;
constexpr size_t kUnit = 8;  // of an option's length
constexpr size_t kPrefixOptionSize = 32;
constexpr size_t kPrefixOffset = 16;
constexpr unsigned kPreferenceBits = 0x18;
constexpr unsigned kWidest = 128;

std::string addressText(const uint8_t* bytes) {
    char text[INET6_ADDRSTRLEN];
    return inet_ntop(AF_INET6, bytes, text, sizeof text);
}

// False when the options do not fill the message exactly.
bool readOptions(const uint8_t* data, size_t size, Advertisement& into) {
    while (size > 0) {
        const size_t length = size < 2 ? 0 : data[1] * kUnit;
        if (length == 0 || length > size) {
            return false;
        }
        const bool isPrefix = data[0] == ND_OPT_PREFIX_INFORMATION && length == kPrefixOptionSize;
        if (isPrefix && into.prefix.empty() && data[2] > 0 && data[2] <= kWidest) {
            into.prefixLength = data[2];
            into.prefix = addressText(data + kPrefixOffset);
        }
        data += length;
        size -= length;
    }
    return true;
}

}  // namespace

std::optional<Advertisement> readAdvertisement(const uint8_t* data, size_t size, const std::string& router) {
    if (size < kHeaderSize || data[0] != ND_ROUTER_ADVERT || data[1] != 0) {
        return std::nullopt;
    }
    Advertisement read;
    read.router = router;
    read.managed = (data[5] & ND_RA_FLAG_MANAGED) != 0;
    read.other = (data[5] & ND_RA_FLAG_OTHER) != 0;
    read.preference = data[5] & kPreferenceBits;
    read.lifetimeSeconds = static_cast<unsigned>(data[6]) << 8 | data[7];
    return readOptions(data + kHeaderSize, size - kHeaderSize, read) ? std::optional(read) : std::nullopt;
}

std::string advertisementPayload(const Advertisement& advertisement, const std::string& device) {
    Payload payload;
    payload.text("ifName", device);
    payload.integer("router_lifetime", static_cast<int>(advertisement.lifetimeSeconds));
    payload.integer("m_flag", advertisement.managed ? ND_RA_FLAG_MANAGED : 0);
    payload.integer("o_flag", advertisement.other ? ND_RA_FLAG_OTHER : 0);
    payload.integer("pref", static_cast<int>(advertisement.preference));
    payload.text("router", advertisement.router);
    payload.text("prefix", advertisement.prefix);
    payload.integer("prefix_len", static_cast<int>(advertisement.prefixLength));
    return payload.str();
}
