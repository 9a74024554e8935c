// The chip's DSL driver stack and LEDs.
#pragma once

#include <cstdint>

// The DSL line came up in mode `newType` (0 ATM, 1 PTM) while the driver stack of `loadedType` is loaded.
void handleXtmUpInit(uint32_t newType, uint32_t loadedType);
// Makes the DSL line train again.
void restartDslConnection();

// Internet LED: 0 off, 1 green, 2 red. Acts only when `control` is 1.
void tarnWanCtlInternetLED(uint32_t control, uint32_t state);

// This platform has nothing to do for these.
void voEnableWifiLED();
void tarnSupportCAT3Cable();
uint32_t tarnLanPhyReset();
