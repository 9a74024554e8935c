#include "platform/wrapper.h"

#include "core/shell.h"

namespace {

// The newline belongs to the command text.
void setRedLed(int mode) {
    shell("echo %d > /proc/tc3162/led_internet_red\n", mode);
}
void setGreenLed(int mode) {
    shell("echo %d 0 > /proc/tc3162/led_internet\n", mode);
}

constexpr int kLedOff = 0;
constexpr int kLedOn = 2;

}  // namespace

// The colour that goes out goes first, so that the two are never lit together.
void tarnWanCtlInternetLED(uint32_t control, uint32_t state) {
    if (control != 1) {
        return;
    }
    switch (state) {
        case 0:
            setRedLed(kLedOff);
            setGreenLed(kLedOff);
            break;
        case 1:
            setRedLed(kLedOff);
            setGreenLed(kLedOn);
            break;
        case 2:
            setGreenLed(kLedOff);
            setRedLed(kLedOn);
            break;
        default:
            break;
    }
}

void voEnableWifiLED() {}

void tarnSupportCAT3Cable() {}

uint32_t tarnLanPhyReset() {
    return 0;
}
