// LAN devices that the management server may manage: whoever keeps their table marks an entry that is to go.
#pragma once

#include <vcfg/rdm.h>

#include <cstddef>
#include <span>

namespace vcfg::vcmd {

// Of such an entry; an empty record is none.
bool isMarkedForDeletion(std::span<const std::byte> record);

}  // namespace vcfg::vcmd
