// The model that the daemon meets.
#pragma once

#include <string>

// That of the soak, and what the commander commands, whose DHCP client has that pid file, and a link that starts
// updates.
std::string furnishedModel(const std::string& pidFile);
