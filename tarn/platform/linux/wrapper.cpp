#include "platform/wrapper.h"

#include <cstdlib>
#include <cstring>
#include <string>

#include "core/os.h"

namespace {

struct Led {
    const char* variable;  // of the environment: the name that this machine has given it
    const char* name;      // otherwise, as the kernel's LED class wants it: colour, then function
};
constexpr Led kGreen{"TARN_GREEN_LED", "green:internet"};
constexpr Led kRed{"TARN_RED_LED", "red:internet"};

// A name leads nowhere else.
std::string nameOf(const Led& led) {
    const char* const given = getenv(led.variable);
    const bool isName = given != nullptr && *given != '\0' && *given != '.' && strchr(given, '/') == nullptr;
    return isName ? given : led.name;
}

// Off also ends what else drives the LED. A machine without it shows nothing.
void setLed(const Led& led, bool lit) {
    const std::string file = "/sys/class/leds/" + nameOf(led) + "/brightness";
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
