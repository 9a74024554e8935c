// What has become of one instance.
#pragma once

#include <cstddef>
#include <vector>

#include "model/describe.h"

namespace vcfg::store {

enum class Fate : uint8_t { Stays, Came, Went };

struct Edited {
    const model::Object* object;
    objIndex iid;
    Fate fate;
    std::vector<std::byte> before;  // the record; empty when it came
    std::vector<std::byte> after;   // empty when it went
};

}  // namespace vcfg::store
