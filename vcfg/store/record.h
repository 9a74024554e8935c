// What lies in the environment: keys that sort as the model does, and values that say who wrote them.
#pragma once

#include <vcfg/rdm.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "key.h"

namespace vcfg::store {

// The change that a record has its values from. Monotonic time counts from the start of the system.
struct Origin {
    uint64_t change;  // one number for all that one change wrote, growing
    uint64_t monotonicUs;
    char by[20];     // as watchers are told, NUL-terminated
    uint32_t event;  // of the flight recorder, on whose behalf it was made; 0 when that is not known
};

// A value is its origin, the record as callers have it, and zeros up to a multiple of eight bytes. LMDB promises no
// alignment: what is read from a value is copied.
inline constexpr size_t valueSize(size_t recordSize) {
    return (sizeof(Origin) + recordSize + 7) & ~size_t{7};
}
inline const std::byte* recordOf(const std::byte* value) {
    return value + sizeof(Origin);
}
inline Origin originOf(const std::byte* value) {
    Origin origin;
    std::memcpy(&origin, value, sizeof origin);
    return origin;
}

// The object's number before the instance's, the highest byte first: tables lie one after the other, each in order.
using StoredKey = std::array<unsigned char, 8>;

inline StoredKey storedKey(uint32_t oid, Key key) {
    const uint64_t number = uint64_t{oid} << 48 | key;
    StoredKey stored;
    for (size_t at = 0; at < stored.size(); ++at) {
        stored[at] = static_cast<unsigned char>(number >> (8 * (stored.size() - 1 - at)));
    }
    return stored;
}
// The key behind it, which may be the next object's first.
inline StoredKey keyBehind(uint32_t oid, Key key) {
    const uint64_t number = (uint64_t{oid} << 48 | key) + 1;
    return storedKey(static_cast<uint32_t>(number >> 48), number & ((uint64_t{1} << 48) - 1));
}
inline uint32_t oidOf(const void* stored) {
    const auto* bytes = static_cast<const unsigned char*>(stored);
    return static_cast<uint32_t>(bytes[0] << 8 | bytes[1]);
}
inline Key keyOf(const void* stored) {
    const auto* bytes = static_cast<const unsigned char*>(stored);
    Key key = 0;
    for (size_t at = 2; at < sizeof(StoredKey); ++at) {
        key = key << 8 | bytes[at];
    }
    return key;
}

// What is kept about the environment itself, where object 0 would be.
enum class Note : uint8_t { Identity = 1, File = 2, Refreshed = 3 };

// For each object, by its number, whether an owner refreshes it before it is read.
using Refreshed = std::array<bool, RDM_OID_COUNT>;

}  // namespace vcfg::store
