// Instance numbers as one number that sorts as the instances do: the outermost in the highest byte.
#pragma once

#include <vcfg/msg.h>

namespace vcfg::store {

using Key = uint64_t;

inline constexpr uint8_t kDepthMax = sizeof(objIndex::idx);

// How far the instance number at that depth (1..6) is shifted in a key.
inline int shiftAt(uint8_t depth) {
    return 8 * (kDepthMax - depth);
}

inline Key keyOf(const objIndex& iid) {
    Key key = 0;
    for (uint8_t depth = 1; depth <= iid.level; ++depth) {
        key |= Key{iid.idx[depth - 1]} << shiftAt(depth);
    }
    return key;
}

inline objIndex iidOf(Key key, uint8_t depth) {
    objIndex iid{};
    iid.level = depth;
    for (uint8_t i = 1; i <= depth; ++i) {
        iid.idx[i - 1] = static_cast<uint8_t>(key >> shiftAt(i));
    }
    return iid;
}

// The key of the instance at that depth which `key` lies below or is.
inline Key ancestor(Key key, uint8_t depth) {
    return key & ~((Key{1} << shiftAt(depth)) - 1);
}

// The last key that lies below the instance of that depth.
inline Key lastBelow(Key key, uint8_t depth) {
    return key | ((Key{1} << shiftAt(depth)) - 1);
}

}  // namespace vcfg::store
