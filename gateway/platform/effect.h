// What a platform program changed, for the journal of the command that ran it.
#pragma once

#include <string>

// Appends a line to the file that the journal names in GW_EFFECT_FILE; nothing without one.
void noteEffect(const std::string& line);
