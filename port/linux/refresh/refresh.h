// What of an object changes by itself, as the system has it now. What cannot be told is left out.
#pragma once

#include <string>

#include "payload.h"

void refreshUpTime(const std::string& path, Payload& values);
void refreshLeaseTime(const std::string& path, Payload& values);
void refreshIpStats(const std::string& path, Payload& values);
void refreshPppStats(const std::string& path, Payload& values);
