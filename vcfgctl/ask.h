// Requests to vcmd.
#pragma once

#include <memory>
#include <string>

#include "client/bus_server.h"
#include "client/fe_client.h"
#include "client/fe_wire.h"

namespace vcfgctl {

// The endpoint that vcfgctl's own requests come from.
inline constexpr uint8_t kOwnEid = 250;
// For requests that end at once, in milliseconds; those that run a hook wait as long as vcmd is there.
inline constexpr uint32_t kPatience = 10000;
inline constexpr uint32_t kWithoutLimit = 0;

// A message with room for the payload and a NUL behind it; null when memory is short.
vcfg::bus::MessagePtr newMessage(uint32_t type, std::string_view payload);

// `timeoutMs` 0 waits as long as vcmd is there.
vcfg::Answer ask(vcfg::wire::Request request, uint32_t oid, const objIndex& iid, std::string_view payload = {},
                 uint32_t timeoutMs = kPatience);

// Registers vcfgctl on the bus; an exit status, reported when it is not kDone.
int joinBus(const std::string& runDir, uint8_t eid = kOwnEid);
// Reports a failed answer that concerns `subject`; the result is the exit status.
int reportFailure(const vcfg::Answer& answer, const std::string& subject);
// The same for a code of the bus, of a message to `eid`.
int reportBusFailure(int code, unsigned eid);

}  // namespace vcfgctl
