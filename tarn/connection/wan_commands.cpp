#include "connection/wan_commands.h"

#include <signal.h>

#include <optional>
#include <string>

#include "connection/client_process.h"
#include "connection/ip_interface.h"
#include "connection/pending_request.h"
#include "core/log.h"
#include "core/path.h"
#include "core/record.h"

namespace {

struct Requester {
    uint8_t eid;
    uint32_t handle;
};

void answerNow(const Requester& requester) {
    replyToWanCommand(requester.eid, requester.handle);
}

void waitForEvent(const Requester& requester, uint8_t instance) {
    pending::record(requester.eid, requester.handle, instance);
}

// Reads the link that a command or notice is about; a requester must not wait for one that is not there.
Record<PppInterface> readLink(const objIndex& pppInterface, const Requester& requester, const char* function) {
    auto link = get<PppInterface>(pppInterface);
    if (!link) {
        logs::system(LOG_ERR, "%s : Can not get WAN PPP Connection Instance\n", function);
        answerNow(requester);
    }
    return link;
}

int writeLink(Record<PppInterface>& link, const char* connectionStatus, const char* function) {
    link->ConnectionStatus = connectionStatus;
    const int code = link.apply();
    if (code != VCFG_OK) {
        logs::system(LOG_ERR, "%s : Set WAN PPP Connection Instance fail\n", function);
    }
    return code;
}

void pppDisconnected(const Record<PppInterface>& link, const Requester& requester) {
    if (link->IPv6CPEnable) {  // the link is down only when its IPv6 layer says so
        logs::print("Do disconnect with idx=%d\n", link.instance());
        waitForEvent(requester, link.instance());
    } else {
        logs::print("PPP_DISCONNECTED with idx=%d, send reply.\n", link.instance());
        answerNow(requester);
    }
}

// Whether the interface has a DHCPv4 client, whose statuses are then written.
bool writeDhcpClient(std::string_view interfacePath, const char* status, const char* dhcpStatus, const char* function) {
    auto client =
        findInstance<Dhcpv4Client>([&](const Dhcpv4Client& candidate) { return candidate.Interface == interfacePath; });
    if (!client) {
        return false;
    }
    client->Status = status;
    client->DHCPStatus = dhcpStatus;
    if (client.apply() != VCFG_OK) {
        logs::system(LOG_ERR, "%s : Set DHCPv4 Client fail\n", function);
    }
    return true;
}

// The client's interface, when it runs IPv6 beside IPv4.
Record<IpInterface> dualStackInterface(const Dhcpv4Client& client) {
    const auto instance = path::instance(path::kIpInterface, client.Interface);
    if (!instance || client.Interface != path::of(path::kIpInterface, *instance)) {
        return {};
    }
    auto interface = get<IpInterface>(instanceId({*instance}));
    return interface && interface->IPv6Enable ? std::move(interface) : Record<IpInterface>();
}

void releaseBothStacks(const Record<IpInterface>& interface, const std::string& interfacePath, const char* function) {
    if (disableFirstAddress<IpInterfaceIpv6Address>(interface.iid()) != VCFG_OK) {
        logs::print("Can't set IP.Interface.i.IPv6Address.i. In %s\n", function);
    }
    writeDhcpClient(interfacePath, "Enabled", "Release", function);
}

// The interface's status is what makes its owner start or stop the clients of both stacks.
void commandDualStack(Record<IpInterface> interface, bool renew, const Requester& requester, const char* function) {
    if (!renew) {
        releaseBothStacks(interface, path::of(path::kIpInterface, interface.instance()), function);
    }
    interface->Status = renew ? "Up" : "LowerLayerDown";
    if (interface.apply() != VCFG_OK) {
        VLOG(VLOG_ERROR, "IP.Interface.%d refused its new Status, its requester is not answered", interface.instance());
        return;
    }
    logs::print("%s Set IP Interface Success \n", function);
    if (renew) {
        waitForEvent(requester, interface.instance());
    } else {
        logs::print("DHCP_Release with idx=%d, send reply.\n", interface.instance());
        answerNow(requester);
    }
}

// The waiting requester is recorded first: a quick client's event may arrive on the other bus thread.
void commandClientProcess(const Record<Dhcpv4Client>& client, bool renew, const Requester& requester) {
    const pid_t process = processInPidFile(client->X_VORAN_PidFile);
    if (process < 1) {
        answerNow(requester);
        return;
    }
    waitForEvent(requester, client.instance());
    signalClient(process, renew ? SIGUSR1 : SIGUSR2);
    logs::print(renew ? "Do Renew with idx=%d\n" : "Do Release with idx=%d\n", client.instance());
}

}  // namespace

int tarnWanPppConnect(const objIndex& pppInterface, bool connect, uint8_t requester, uint32_t handle) {
    const Requester asking{requester, handle};
    auto link = readLink(pppInterface, asking, __func__);
    if (!link) {
        return VCFG_ERR_FAIL;
    }
    if (writeLink(link, connect ? "Connecting" : "Disconnected", __func__) != VCFG_OK) {
        answerNow(asking);
    } else if (connect) {
        logs::print("Do connect with idx=%d\n", link.instance());
        waitForEvent(asking, link.instance());
    } else {
        pppDisconnected(link, asking);
    }
    return VCFG_OK;
}

int tarnWanPppConnected(const objIndex& pppInterface, bool connecting, uint8_t requester, uint32_t handle) {
    auto link = readLink(pppInterface, {requester, handle}, __func__);
    if (!link) {
        return VCFG_ERR_FAIL;
    }
    writeLink(link, connecting ? "Connecting" : "Disconnected", __func__);
    return VCFG_OK;
}

int tarnWanIpRenew(const objIndex& dhcpv4Client, bool renew, uint8_t requester, uint32_t handle) {
    const Requester asking{requester, handle};
    const auto client = get<Dhcpv4Client>(dhcpv4Client);
    if (!client) {
        logs::system(LOG_ERR, "%s : Can not get DHCPV4 CLIENT Instance\n", __func__);
        answerNow(asking);
        return VCFG_ERR_FAIL;
    }
    auto interface = dualStackInterface(*client);
    if (interface) {
        commandDualStack(std::move(interface), renew, asking, __func__);
    } else {
        commandClientProcess(client, renew, asking);
    }
    return VCFG_OK;
}

int restartDhcpc() {
    return VCFG_OK;
}

bool setDhcpClient(uint32_t oid, std::string_view interfacePath, bool enable) {
    return oid == RDM_OID_DHCPV4_CLIENT &&
           writeDhcpClient(interfacePath, enable ? "Enabled" : "Disabled", "", __func__);
}
