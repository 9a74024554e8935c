// The kernel's network as the hooks change it, through the ip command.
#pragma once

#include <string>
#include <vector>

// Runs `ip` with these words, no shell between. False when it failed; it has said why on standard error.
bool ip(const std::vector<std::string>& words);
// The same where a failure means that what should go is gone already.
void ipQuietly(const std::vector<std::string>& words);
