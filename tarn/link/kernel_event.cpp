#include "link/kernel_event.h"

#include <mutex>
#include <string_view>

#include "core/arrival.h"
#include "core/log.h"
#include "core/wan_state.h"
#include "link/link_turn.h"
#include "link/wan_link_status.h"
#include "link/wan_link_table.h"
#include "platform/dsl.h"
#include "platform/ethernet_port.h"
#include "platform/port_names.h"

namespace {

void retrainDsl() {
    logs::system(LOG_INFO, "WAN Link Info is not ready, re-train DSL\n");
    restartDslConnection();
}

}  // namespace

void updateLinkStatus(const char* event) {
    const Arrival arrival("kernel", event != nullptr ? event : "");
    const std::lock_guard turn(linkTurn);
    logs::print("%s %d: receiving Kernel event !!\n", __func__, __LINE__);
    const std::string_view text = event != nullptr ? event : "";
    if (port::namesDsl(text)) {
        restartQuarterHours();
    }
    if (wan.wanLinkInfoInit == 1) {
        wan.isAutoHuntFinished = 0;
        updateWanLinkStatus(event, false);
    } else if (isDslLineLinkUp() == 1) {
        retrainDsl();
    }
    if (port::namesEthernet(text)) {
        updateLanLinkStatus(event);
    }
}
