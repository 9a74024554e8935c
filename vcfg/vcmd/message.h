// Messages that vcmd sends.
#pragma once

#include <cstddef>
#include <span>
#include <string_view>

#include "client/bus_server.h"

namespace vcfg::vcmd {

// From vcmd to that endpoint, with the payload, and if wanted a NUL behind it that counts. Null when memory is short.
bus::MessagePtr newMessage(uint32_t type, uint8_t dstEid, std::string_view payload = {}, bool terminated = false);

// The answer to a front-end request: a record, or why it was refused.
bus::MessagePtr newAnswer(const vcfg_msg_t& request, int code, const objIndex& iid, std::span<const std::byte> record);
bus::MessagePtr newRefusal(const vcfg_msg_t& request, int code, std::string_view why);

}  // namespace vcfg::vcmd
