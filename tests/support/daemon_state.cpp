#include "daemon_state.h"

#include "connection/pending_request.h"
#include "core/wan_state.h"
#include "diag/server_selection_result.h"
#include "dispatch.h"
#include "lan/wps.h"
#include "link/wan_link_table.h"
#include "mgmt/ntp.h"
#include "startup.h"

void forgetDaemonState() {
    resetWanState();
    forgetWanLinks();
    pending::clear();
    forgetPingSeries();
    lanPhyResetDone = false;
    ntpSyncNoticeSent = false;
    firstUseDateDone = false;
    forgetWpsSession();
}
