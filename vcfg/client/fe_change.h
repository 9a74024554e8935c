// Several changes as one request to vcmd.
#pragma once

#include <vcfg/fe.h>

#include <span>

#include "fe_client.h"

namespace vcfg {

// As vcfgFeObjChange; the steps are good. Their instances are filled in when they have been made.
Answer requestChange(std::span<vcfg_step_t> steps, uint32_t requestType, const Deadline& deadline = Deadline::never());

}  // namespace vcfg
