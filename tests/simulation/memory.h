// What the process holds of the heap.
#pragma once

#include <cstdint>

namespace sim {

// Pieces of memory that have been taken and not been given back, by the libraries, too.
int64_t piecesInUse();

}  // namespace sim
