#include "link/kernel_event.h"

#include <mutex>
#include <string_view>

#include "core/log.h"
#include "core/shell.h"
#include "core/wan_state.h"
#include "link/link_turn.h"
#include "link/wan_link_status.h"
#include "link/wan_link_table.h"
#include "platform/econet/ethernet_port.h"
#include "platform/econet/wrapper.h"

namespace {

bool namesDsl(std::string_view event) {
    return event.find("atm") != std::string_view::npos || event.find("ptm") != std::string_view::npos;
}

// A line that trained anew starts its quarter-hour statistics anew.
void restartQuarterHours() {
    run("rm -rf /tmp/quarterHours/");
    run("/usr/etc/initQuarterHourFiles.sh");
}

void retrainDsl() {
    logs::system(LOG_INFO, "WAN Link Info is not ready, re-train DSL\n");
    restartDslConnection();
}

}  // namespace

void updateLinkStatus(const char* event) {
    const std::lock_guard turn(linkTurn);
    logs::print("%s %d: receiving Kernel event !!\n", __func__, __LINE__);
    const std::string_view text = event != nullptr ? event : "";
    if (namesDsl(text)) {
        restartQuarterHours();
    }
    if (wan.wanLinkInfoInit == 1) {
        wan.isAutoHuntFinished = 0;
        updateWanLinkStatus(event, false);
    } else if (isDslLineLinkUp() == 1) {
        retrainDsl();
    }
    if (text.substr(0, 1) == "e") {
        updateLanLinkStatus(event);
    }
}
