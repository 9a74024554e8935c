#include "platform/econet/wrapper.h"

#include <string>

#include "core/os.h"
#include "core/shell.h"
#include "core/wan_state.h"

namespace {

void loadPtmStack(const std::string& release) {
    run("killall br2684ctl");
    run("rmmod mt7510sar.ko");
    run("rmmod qdma_wan.ko");
    run("echo 1 > /proc/sys/vm/drop_caches");
    shell("insmod /lib/modules/%s/qdma_wan.ko macType=2", release);
    shell("insmod /lib/modules/%s/mt7510ptm.ko", release);
}

// The SAR module is taken out and put in again although nothing of the PTM stack needs it out: the chip wants it fresh
// after the WAN DMA engine has come back.
void loadAtmStack(const std::string& release) {
    run("rmmod mt7510ptm.ko");
    run("rmmod qdma_wan.ko");
    run("echo 1 > /proc/sys/vm/drop_caches");
    shell("insmod /lib/modules/%s/qdma_wan.ko macType=3", release);
    run("rmmod mt7510sar.ko");
    shell("insmod /lib/modules/%s/mt7510sar.ko", release);
}

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

void handleXtmUpInit(uint32_t newType, uint32_t loadedType) {
    if (newType == kLinkDslPtm && loadedType == kLinkDslPtm) {
        run("echo 1 >/proc/tc3162/ptm_do_reset_sequence");
    } else if (newType == kLinkDslPtm) {
        loadPtmStack(os::kernelRelease());
    } else if (newType == kLinkDslAtm && loadedType != kLinkDslAtm) {
        loadAtmStack(os::kernelRelease());
    }
}

void restartDslConnection() {
    run("/usr/bin/wan adsl close");
    run("/usr/bin/wan adsl open");
}

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
