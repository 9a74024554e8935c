// LEDs, radios and LAN PHYs.
#pragma once

#include <cstdint>

// Internet LED: 0 off, 1 green, 2 red. Acts only when `control` is 1.
void tarnWanCtlInternetLED(uint32_t control, uint32_t state);

// A platform may have nothing to do for these.
void voEnableWifiLED();
void tarnSupportCAT3Cable();
uint32_t tarnLanPhyReset();
