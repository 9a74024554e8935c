// Why an operation is refused.
#pragma once

#include <vcfg/codes.h>

#include <string>

#include "view.h"

namespace vcfg::store {

inline int refuse(int code, std::string* why, const std::string& text) {
    if (why != nullptr) {
        *why = text;
    }
    return code;
}

// When there is no record.
inline int refuseMissing(const Found& found, std::string* why) {
    if (found.object == nullptr) {
        return refuse(found.code, why, "no such object");
    }
    return refuse(found.code, why,
                  found.code == VCFG_ERR_INVALID ? std::string(found.object->pattern) +
                                                       " takes instance numbers: " + std::to_string(found.object->depth)
                                                 : "no such instance");
}

}  // namespace vcfg::store
