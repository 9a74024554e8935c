#pragma once

#include <string>

#include "payload.h"

// What a network device has carried, under the names of the Stats objects.
void addStats(const std::string& device, Payload& values);
