#include "startup.h"

#include <mutex>

#include "core/log.h"
#include "core/message.h"
#include "core/record.h"
#include "core/wan_state.h"
#include "link/link_turn.h"
#include "link/wan_link_status.h"
#include "link/wan_link_table.h"
#include "platform/services.h"
#include "platform/wrapper.h"

std::atomic<bool> lanPhyResetDone{false};

namespace {

void startEnabledUpnp() {
    const auto upnp = get<UpnpDevice>();
    if (upnp && upnp->Enable) {
        startUpnp(upnp->X_VORAN_NATTraversal);
    }
}

void updateLinks() {
    if (wan.wanLinkInfoInit == 1) {
        updateWanLinkStatus(nullptr, false);
        return;
    }
    if (initWanLinkInfo() != VCFG_OK) {
        logs::system(LOG_ERR, "Init WAN Link Information Fail\n");
        return;
    }
    // The platform's log readers know this line by the dispatcher's name.
    logs::print("%s %d: Run updateWanLinkStatus(NULL, true)\n", "processRequest", __LINE__);
    updateWanLinkStatus(nullptr, true);
}

void resetLanPhys() {
    VLOG(VLOG_DEBUG, "do tarnLanPhyReset\n");
    if (tarnLanPhyReset() != 0) {
        tarnSupportCAT3Cable();
    }
}

}  // namespace

// The scripts are no link work: a link event meanwhile finds the table not built yet, and trains the DSL line anew.
void startupCompleted() {
    runStartScripts();
    startEnabledUpnp();
    logs::system(LOG_NOTICE, "System: System init finished\n");
    initialiseLinks(false);
}

void initialiseLinks(bool autoHuntFinished) {
    const std::lock_guard turn(linkTurn);
    tarnResetWanLinkStatus(kLinkNone);
    wan.isAutoHuntFinished = autoHuntFinished ? 1 : 0;
    wan.isVcAutoHuntRunnig = 0;
    wan.isVlanAutoHuntRunnig = 0;
    if (!lanPhyResetDone) {
        tarnSupportCAT3Cable();
    }
    updateLinks();
    if (!lanPhyResetDone) {
        resetLanPhys();
        lanPhyResetDone = true;
    }
    VLOG(VLOG_DEBUG, "VCFG_MSG_INIT_DATAMODEL_FIN, send to VCMD");
    sendInitFin();
}
