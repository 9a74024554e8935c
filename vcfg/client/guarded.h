// The edge between C++ and the callers in C.
#pragma once

#include <vcfg/codes.h>

#include <exception>

#include "client_log.h"

namespace vcfg {

// What an operation of the API returns. Nothing may be thrown to C: short memory, mostly, becomes a code.
template <class Operation>
int guarded(Operation operation) {
    try {
        return operation();
    } catch (const std::exception& failure) {
        CLIENT_LOG(VLOG_ERROR, "%s", failure.what());
        return VCFG_ERR_FAIL;
    }
}

}  // namespace vcfg
