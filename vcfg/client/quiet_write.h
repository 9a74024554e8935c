// Writing to a descriptor whose reader may be gone.
#pragma once

#include <cstddef>

namespace vcfg {

// write() once, without waiting for room and without SIGPIPE for the process.
void writeQuietly(int descriptor, const char* text, size_t size);

}  // namespace vcfg
