// Log lines of the library itself. The arguments are evaluated only when the level is on.
#pragma once

#include <vcfg/os.h>

#define CLIENT_LOG(level, ...)                                               \
    do {                                                                     \
        if (vlog_levelAllow(level)) {                                        \
            vlog_log_f((level), "libvcfg", __LINE__, __func__, __VA_ARGS__); \
        }                                                                    \
    } while (false)
