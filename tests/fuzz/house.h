// The gateway that fuzzed events meet: one instance at least of whatever the daemon's handlers look for.
#pragma once

#include "support/kit.h"

namespace house {

// Fills the model, builds the WAN link table, and lets the wireless daemon, a DHCP client and the shell answer.
void furnish(Gateway& gateway);

// Ends the program when a text of the input stands outside the quotes of a command that ran. The dictionaries' word for
// such a text is "hostile".
void checkCommands(const Gateway& gateway);

}  // namespace house
