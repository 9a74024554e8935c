// The model in the run directory, that vcmd writes and everyone reads.
#pragma once

#include "vcmd.h"

namespace vcfg::vcmd {

// False with the reason on standard error.
bool openModel(Vcmd& vcmd);

}  // namespace vcfg::vcmd
