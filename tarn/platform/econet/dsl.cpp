#include "platform/dsl.h"

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

void endPtm() {
    run("echo 0 >/proc/tc3162/ptm_do_reset_sequence");
}

void removePtmVlanRule(std::string_view device, int rule) {
    shell("vlanctl --tx --if %s --tags 0 --rule-remove %d", device, rule);
}

int32_t openDsl() {
    return run("/usr/bin/wan adsl open");
}

int32_t closeDsl() {
    return run("/usr/bin/wan adsl close");
}

void restartDslConnection() {
    closeDsl();
    openDsl();
}

void restartQuarterHours() {
    run("rm -rf /tmp/quarterHours/");
    run("/usr/etc/initQuarterHourFiles.sh");
}
