// What lies on a WAN link follows it: the IP interface, and with it the clients that run there.
#include <vcfg/vcfg.h>

#include <cstdio>
#include <cstdlib>

#include "hooks.h"
#include "stored.h"

namespace {

// A daemon whose queue is full will look at the LED for what waits there, and may itself be waiting for this hook.
constexpr uint32_t kPatienceMs = 100;

// The interface's own hook starts or stops the clients that run on it.
bool follow(const objIndex& iid, IpInterface& interface, bool up) {
    interface.Status = up ? "Up" : "LowerLayerDown";
    if (vcfgFeObjStructSet(RDM_OID_IP_IFACE, &iid, &interface, nullptr) != VCFG_OK) {
        fprintf(stderr, "port-apply: IP.Interface.%u does not take its status\n", iid.idx[0]);
        return false;
    }
    return true;
}

bool isUp(const std::optional<Values>& values) {
    return values && values->text("Status") == "Up";
}

}  // namespace

// The Internet LED is the daemon's; whether an interface can be used is known here first.
void tellLed() {
    auto* const message = static_cast<vcfg_msg_t*>(calloc(1, VCFG_MSG_HEADER_SIZE + 1));
    if (message == nullptr) {
        return;
    }
    message->type = VCFG_MSG_WAN_INTERNET_LED_UPDATE;
    message->dstEid = VCFG_EID_TARN;
    vcfg_msg_sendAndGetReply(message, nullptr, kPatienceMs);
}

bool applyLink(const Change& change) {
    const bool up = isUp(change.now);
    if (up == isUp(change.before)) {
        return true;
    }
    bool followed = true;
    bool any = false;
    objIndex iid{};
    while (const auto interface = next<IpInterface>(iid)) {
        if (interface->Enable != 0 && interface->LowerLayers == change.path.c_str()) {
            followed = follow(iid, *interface, up) && followed;
            any = true;
        }
    }
    if (any) {
        tellLed();
    }
    return followed;
}
