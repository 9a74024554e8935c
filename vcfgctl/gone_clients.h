// Clients and servers that hooks have started for objects, and that are no more, though nobody has told them to end.
#pragma once

#include <vector>

#include "surroundings.h"

namespace vcfgctl {

// The steps that say they were started.
std::vector<const Told*> goneClients(const Story& story, const Surroundings& surroundings);
// "dhcp-server of lan", of such a step.
std::string clientIn(const Told& start);

}  // namespace vcfgctl
