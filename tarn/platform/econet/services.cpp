#include "platform/services.h"

#include "core/shell.h"

void runStartScripts() {
    run("/etc/init.d/button_disable_for_manufacture.sh");
    run("/etc/init.d/mcpd.sh reload");
    run("/etc/init.d/disable_lan.sh stop ");
}

void startUpnp(bool natTraversal) {
    run(natTraversal ? "vupnp.sh -N&" : "vupnp.sh&");
}

void endHunt(const char* name) {
    shell("killall %s", name);
}
