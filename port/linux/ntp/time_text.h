// The time now as the data model writes it.
#pragma once

#include <string>

std::string utcNow();
// In a zone that is given as the TZ variable's text or by its name; what is no zone counts as UTC.
std::string localNow(const std::string& zone);
