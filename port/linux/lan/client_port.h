// Where on a bridge a client is.
#pragma once

#include <string>

// The port behind which the kernel's bridge has seen the hardware address; empty when it has not.
std::string portOfClient(const std::string& bridge, const std::string& mac);
