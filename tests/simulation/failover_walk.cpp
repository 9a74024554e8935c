#include "failover_walk.h"

namespace failover {
namespace {

void add(Deeds& deeds, const Deeds& more) {
    deeds.insert(deeds.end(), more.begin(), more.end());
}

const Deeds kLoadPtm = {"killall br2684ctl",
                        "rmmod mt7510sar.ko",
                        "rmmod qdma_wan.ko",
                        "echo 1 > /proc/sys/vm/drop_caches",
                        "insmod /lib/modules/4.4.115/qdma_wan.ko macType=2",
                        "insmod /lib/modules/4.4.115/mt7510ptm.ko"};
const Deeds kLoadAtm = {"rmmod mt7510ptm.ko",
                        "rmmod qdma_wan.ko",
                        "echo 1 > /proc/sys/vm/drop_caches",
                        "insmod /lib/modules/4.4.115/qdma_wan.ko macType=3",
                        "rmmod mt7510sar.ko",
                        "insmod /lib/modules/4.4.115/mt7510sar.ko"};
const Deeds kLedOff = {"echo 0 > /proc/tc3162/led_internet_red\n", "echo 0 0 > /proc/tc3162/led_internet\n"};
const Deeds kLedGreen = {"echo 0 > /proc/tc3162/led_internet_red\n", "echo 2 0 > /proc/tc3162/led_internet\n"};

// What lies on each link; on the line it depends on how it trained.
const char* layerOn(Link link, Mode mode) {
    switch (link) {
        case kCopper:
            return "Ethernet.Link.1";
        case kSfp:
            return "Ethernet.Link.2";
        case kStick:
            return "PPP.Interface.1";
        default:
            return mode == Mode::Atm ? "ATM.Link.1" : "PTM.Link.1";
    }
}

}  // namespace

// The one WAN connection of this gateway has an address for good.
void Walk::led() {
    const int now = state.wanDown && state.mobileDown ? 0 : 1;
    if (now == state.led) {
        return;
    }
    add(deeds, kLedOff);
    if (now == 1) {
        add(deeds, kLedGreen);
    }
    state.led = now;
}

void Walk::openDsl() {
    deeds.emplace_back("/usr/bin/wan adsl open");
    carry(Carrier::None);
    state.sfpUp = false;
}

void Walk::noHunter() {
    const bool vc = link == kLine && state.mode == Mode::Atm;
    deeds.emplace_back(vc ? "killall vcautohunt" : "killall vlanautohunt");
}

void Walk::loadDriver() {
    const int mode = static_cast<int>(state.mode);
    if (state.mode == Mode::Ptm && state.driver == mode) {
        deeds.emplace_back("echo 1 >/proc/tc3162/ptm_do_reset_sequence");
    } else if (state.driver != mode) {
        add(deeds, state.mode == Mode::Ptm ? kLoadPtm : kLoadAtm);
    }
    state.driver = mode;
}

void Walk::endPtm() {
    add(deeds, {"echo 0 >/proc/tc3162/ptm_do_reset_sequence", "vlanctl --tx --if ptm0 --tags 0 --rule-remove 0"});
}

void Walk::restartStatistics() {
    add(deeds, {"rm -rf /tmp/quarterHours/", "/usr/etc/initQuarterHourFiles.sh"});
}

void Walk::tellLayers() {
    const char* const status = state.acted[link] ? "=Up" : "=LowerLayerDown";
    deeds.push_back(layerOn(link, state.mode) + std::string(status));
}

}  // namespace failover
