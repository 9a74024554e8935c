#pragma once

#include <string>

// Ends the IP connection of an interface that is up, and begins it anew. False, with the reason on standard error, when
// there is none.
bool resetInterface(const std::string& path, const std::string& device);
