#include "mgmt/tr064.h"

#include "core/log.h"
#include "core/record.h"
#include "core/shell.h"

void tr64LanDeviceUpdate() {
    const auto settings = get<Tr064>();
    if (!settings) {
        // Both lines are the ones that the platform's log readers know, also the one that names another object.
        logs::system(LOG_ERR, "%s(): vcfgFeObjStructGet(RDM_OID_ROUTING_ROUTER) fail!", __func__);
        logs::print("Get RDM_OID_TR064 fail!!");
        return;
    }
    if (settings->Enable) {
        run("killall -9 vtr64");
        run("vtr64 &");
    }
}
