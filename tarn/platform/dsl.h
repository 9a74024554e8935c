// The DSL modem and its driver stack.
#pragma once

#include <cstdint>
#include <string_view>

// The DSL line came up in mode `newType` (0 ATM, 1 PTM) while the driver stack of `loadedType` is loaded.
void handleXtmUpInit(uint32_t newType, uint32_t loadedType);
// A line in PTM mode went down.
void endPtm();
void removePtmVlanRule(std::string_view device, int rule);

// The commands' results.
int32_t openDsl();
int32_t closeDsl();
// Makes the DSL line train again.
void restartDslConnection();
// A line that trained anew starts its quarter-hour statistics anew.
void restartQuarterHours();
