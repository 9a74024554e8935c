// DHCPv4 client events: a lease that was bound, renewed or released becomes data-model objects.
#pragma once

#include <vcfg/msg.h>

#include <cstdint>

class Json;

// One event. `payload` is a JSON object, `type` one of VCFG_MSG_DHCPC_OPTION, _BOUND and _RENEWED; whether a lease is
// held or was released is in the payload. 0, or -5 when the interface's IPv4 address could not be configured.
int processDhcpcMsg(const char* payload, uint32_t type);

// Writes the 6rd parameters that an event carries (or their absence) into the IP interface.
void tarnSet6rdInfo(const objIndex& ipInterface, const Json& event, bool addressAssigned);
