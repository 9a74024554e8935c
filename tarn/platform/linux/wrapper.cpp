#include "platform/wrapper.h"

#include <string>

#include "core/os.h"

namespace {

// A machine gives them these names, as the kernel's LED class wants them: colour, then function.
constexpr const char* kGreen = "green:internet";
constexpr const char* kRed = "red:internet";

// Off also ends what else drives the LED. A machine without it shows nothing.
void setLed(const char* name, bool lit) {
    const std::string file = std::string("/sys/class/leds/") + name + "/brightness";
    if (os::fileExists(file)) {
        os::writeFile(file, lit ? "255" : "0");
    }
}

}  // namespace

// The colour that goes out goes first, so that the two are never lit together.
void tarnWanCtlInternetLED(uint32_t control, uint32_t state) {
    if (control != 1 || state > 2) {
        return;
    }
    const bool red = state == 2;
    setLed(red ? kGreen : kRed, false);
    setLed(red ? kRed : kGreen, state != 0);
}

void voEnableWifiLED() {}

void tarnSupportCAT3Cable() {}

uint32_t tarnLanPhyReset() {
    return 0;
}
