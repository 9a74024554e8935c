#include "link/wan_link_table.h"

#include <mutex>

#include "core/log.h"
#include "core/memory.h"
#include "core/record.h"
#include "core/wan_state.h"
#include "platform/ethernet_wan.h"

namespace {

std::atomic<WanLinkInfo*> newest{nullptr};
std::mutex adding;

void putInFront(std::unique_ptr<WanLinkInfo> link) {
    const std::lock_guard guard(adding);
    link->next.reset(newest.load());
    newest.store(link.release());
}

bool addLink(int32_t type, const objIndex& iid, std::string_view name, bool isSfp) {
    auto link = allocate<WanLinkInfo>();
    if (link == nullptr) {
        VLOG_OUT_OF_MEMORY(sizeof(WanLinkInfo), "insuffcient");
        return false;
    }
    link->linkType = static_cast<uint8_t>(type);
    link->iid = iid;
    link->ifaceName = name;
    link->isSFP = isSfp;
    putInFront(std::move(link));
    return true;
}

bool addDslLines() {
    for (const auto& line : instances<DslLine>()) {
        if (!addLink(kLinkDslLine, line.iid(), "", false)) {
            return false;
        }
    }
    return true;
}

template <class Interface>
bool addUpstream(int32_t type, const char* name) {
    for (const auto& interface : instances<Interface>()) {
        if (!interface->Upstream) {
            logs::system(LOG_INFO, "ignoring WanDevice\n");
        } else if (!addLink(type, interface.iid(), name, false)) {
            return false;
        }
    }
    return true;
}

void noteSfp(const EthernetInterface& port) {
    if (port.X_VORAN_SFP) {
        wan.supportSFP = 1;
        logs::print("[%s][%d]\n", "initWanLinkInfo", __LINE__);
    }
    logs::print("[%s][%d]supportSFP=[%d]\n", "initWanLinkInfo", __LINE__, wan.supportSFP.load());
}

// With DSL first, a DSL line that is up keeps the Ethernet WAN port as it is.
void activatePort(const EthernetInterface& port) {
    if (wan.WANPriority != kDslFirst || wan.isDslLinkUp != 1) {
        restartEthWanPhy(port.Name.c_str());
    }
}

bool addEthernetPorts() {
    for (const auto& port : instances<EthernetInterface>()) {
        if (!port->Upstream && !port->X_VORAN_WANPort) {
            continue;
        }
        noteSfp(*port);
        activatePort(*port);
        if (!addLink(kLinkEthernet, port.iid(), port->Name, port->X_VORAN_SFP != 0)) {
            return false;
        }
    }
    return true;
}

}  // namespace

WanLinkInfo* firstWanLink() {
    return newest.load();
}

// New entries go to the front, so this order of kinds makes every walk meet Ethernet before DSL: the walk has to know
// that the last Ethernet link is gone before it comes to the DSL line.
int32_t initWanLinkInfo() {
    logs::system(LOG_INFO, "initializing list of WANDevices\n");
    const bool complete = addDslLines() && addUpstream<UsbInterface>(kLinkUsb, "usb") &&
                          addUpstream<OpticalInterface>(kLinkOptical, "opt") && addEthernetPorts();
    if (!complete) {
        return VCFG_ERR_FAIL;
    }
    tarnResetWanLinkStatus(kLinkNone);
    wan.wanLinkInfoInit = 1;
    return 0;
}

uint8_t isDslLineLinkUp() {
    return findInstance<DslLine>([](const DslLine& line) { return line.LinkStatus == "Up"; }) ? 1 : 0;
}

void tarnResetWanLinkStatus(uint8_t linkType) {
    for (WanLinkInfo* link = firstWanLink(); link != nullptr; link = link->next.get()) {
        if (linkType == kLinkNone || link->linkType == linkType) {
            link->linkStatus = 0;
        }
    }
}

int32_t restartEthWanPhy(const char* ifaceName) {
    if (ifaceName == nullptr || *ifaceName == '\0') {
        return -17;
    }
    activateEthWanPort(ifaceName);
    return 0;
}

void forgetWanLinks() {
    const std::unique_ptr<WanLinkInfo> links(newest.exchange(nullptr));
}
