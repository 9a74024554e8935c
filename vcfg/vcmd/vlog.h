// vcmd's log lines. The arguments are evaluated only when the level is on.
#pragma once

#include <vcfg/os.h>

#define VCMD_LOG(level, ...)                                              \
    do {                                                                  \
        if (vlog_levelAllow(level)) {                                     \
            vlog_log_f((level), "vcmd", __LINE__, __func__, __VA_ARGS__); \
        }                                                                 \
    } while (false)
