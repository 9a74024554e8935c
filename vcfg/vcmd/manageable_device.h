// LAN devices that the management server may manage: whoever keeps their table marks an entry that is to go.
#pragma once

#include <cstddef>
#include <span>

#include "model/describe.h"

namespace vcfg::vcmd {

bool isMarkedForDeletion(const model::Object& object, std::span<const std::byte> record);

}  // namespace vcfg::vcmd
