// Requests to vcmd.
#pragma once

#include <vcfg/codes.h>
#include <vcfg/msg.h>

#include <cstdint>
#include <string>
#include <string_view>

#include "deadline.h"

namespace vcfg {

struct Answer {
    int code;          // VCFG_OK, vcmd's refusal, or what became of the call
    objIndex iid;      // the instance found or added
    std::string body;  // the record's bytes; of a refusal the text that says why, without its NUL
};

// `type` is one of wire::Request. Waits for the answer up to `deadline`; the loss of vcmd always ends the wait.
Answer request(uint32_t type, uint32_t oid, const objIndex& iid, std::string_view payload,
               const Deadline& deadline = Deadline::never());

}  // namespace vcfg
