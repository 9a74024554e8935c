// The owners of the layers, and the daemons that the gateway's own daemon talks to.
#include "peers.h"

#include <algorithm>

#include "inproc_fe.h"
#include "link/wan_link_table.h"

namespace sim {
namespace {

void follow(const Connection& connection, bool up) {
    inproc::set("IP.Interface." + std::to_string(connection.ip) + ".Status", up ? "Up" : "LowerLayerDown");
    if (connection.dhcp != 0) {
        up ? startClient(connection.dhcp) : stopClient(connection.dhcp);
    }
    if (connection.ppp != 0) {
        up ? dial(connection.ppp) : hangUp(connection.ppp);
    }
}

void pppWritten(int ppp, const std::string& path) {
    const std::string wanted = inproc::get(path + ".ConnectionStatus");
    const std::string ip = "IP.Interface." + std::to_string(connectionOfPpp(ppp).ip) + ".Status";
    if (wanted == "Connecting" && !world().dialled[ppp]) {
        inproc::set(ip, "Up");
        dial(ppp);
    } else if (wanted == "Disconnected" && world().dialled[ppp]) {
        hangUp(ppp);
        inproc::set(ip, "LowerLayerDown");
    }
}

void dualStackWritten() {
    const bool up = inproc::get("IP.Interface.4.Status") == "Up";
    const bool runs = world().clients[3].running;
    if (up != runs) {
        up ? startClient(3) : stopClient(3);
    }
}

void hunted(bool& hunting) {
    hunting = true;
    later(5000 + world().chance.below(50000), [&hunting] {
        if (hunting) {
            hunting = false;
            post({VCFG_MSG_AUTO_HUNT_FINISHED, VCFG_EID_VLANAUTOHUNT, 0, {}, "", true});
        }
    });
}

int wirelessAnswers(const vcfg_msg_t& message, std::string* text) {
    fibers::sleepUntil(world().nowMs + world().chance.below(400));
    if (message.type == VCFG_MSG_WLAN_WPS_STATUS) {
        *text = R"({"WPSStatus":)" + std::to_string(world().chance.below(6)) + "}";
    }
    return VCFG_OK;
}

// A dead peer is gone at once, or takes nothing until the daemon's patience is over.
int noAnswer(uint32_t patienceMs) {
    if (patienceMs != 0 && world().chance.oneIn(2)) {
        fibers::sleepUntil(world().nowMs + patienceMs);
        return VCFG_ERR_TIMEOUT;
    }
    return VCFG_ERR_NO_PEER;
}

}  // namespace

void ownersAct(const std::string& write) {
    if (write.compare(0, 4, "set ") != 0) {
        return;
    }
    const std::string path = write.substr(4);
    if (path == "PPP.Interface.2" || path == "PPP.Interface.3") {
        pppWritten(path.back() - '0', path);
        return;
    }
    if (path == "IP.Interface.4") {
        dualStackWritten();
    }
    for (const Connection& connection : kConnections) {
        if (path == connection.layer) {
            follow(connection, inproc::get(path + ".Status") == "Up");
        }
    }
}

int peerTakes(const vcfg_msg_t& message, uint32_t patienceMs, std::string* text, uint32_t* statCode) {
    World& w = world();
    *statCode = 0;
    if (w.dead.count(message.dstEid) != 0) {
        return noAnswer(patienceMs);
    }
    switch (message.type) {
        case VCFG_MSG_VLAN_HUNT_START:
            hunted(w.vlanHunting);
            break;
        case VCFG_MSG_VC_HUNT_START:
            hunted(w.vcHunting);
            break;
        case VCFG_MSG_VLAN_HUNT_STOP:
            w.vlanHunting = false;
            break;
        case VCFG_MSG_VC_HUNT_STOP:
            w.vcHunting = false;
            break;
        case VCFG_MSG_INIT_DATAMODEL_FIN:
            doLinkWork();
            break;
        default:
            break;
    }
    if (message.dstEid == VCFG_EID_TARN) {
        post(ownLetter(message));
    }
    return message.dstEid == VCFG_EID_WIRELESS ? wirelessAnswers(message, text) : int{VCFG_DELIVERED};
}

void answered(const vcfg_msg_t& reply) {
    for (Ask& ask : world().asks) {
        if (ask.eid == reply.dstEid && ask.requestId == reply.requestId) {
            if (++ask.answered > ask.asked) {
                broken("WhoAsksIsAnsweredAtMostOnce", "request " + std::to_string(ask.requestId));
            }
            return;
        }
    }
    broken("NobodyIsAnsweredWhoHasNotAsked", "endpoint " + std::to_string(reply.dstEid));
}

}  // namespace sim
