// What is seen of a daemon from outside.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "daemon_world.h"

// What its open descriptors are.
std::vector<std::string> descriptorsOf(const Daemon& daemon);
// How often the handling of messages has begun, by the number that the daemon's log has for their type (`loggedType`).
std::map<uint32_t, size_t> begunBy(const Daemon& daemon);
uint32_t loggedType(uint32_t type);
// What a sanitizer reports, or whatever came last.
std::string lastWords(const Daemon& daemon);
