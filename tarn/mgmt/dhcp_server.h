// What the LAN's DHCP server reports about its clients.
#pragma once

#include <string>

#include "core/json.h"

// `payload` is a JSON object of texts. Returns 0; -5 for a report that does not parse or lacks what its action needs;
// or the code of the refused write of a bridge filter.
int tarnProcessDhcpdOption(const char* payload);

// A key's value as text; empty when there is none.
std::string tarnJsonGetString(const Json& object, const char* key);
