// Memory that a C interface hands out.
#pragma once

#include <cstdlib>

namespace vcfg {

struct Free {
    void operator()(void* memory) const { free(memory); }
};

}  // namespace vcfg
