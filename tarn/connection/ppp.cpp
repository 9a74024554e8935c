#include "connection/ppp.h"

#include <string>

#include "connection/ip_interface.h"
#include "connection/ipv4_address.h"
#include "connection/pending_request.h"
#include "core/address.h"
#include "core/json.h"
#include "core/log.h"
#include "core/path.h"
#include "core/record.h"

namespace {

constexpr const char* kHandler = "processPppdMsg";
constexpr std::string_view kHostMask = "255.255.255.255";

using Link = Record<PppInterface>;

std::string pathOf(const objIndex& pppInterface) {
    return path::of(path::kPppInterface, pppInterface.idx[0]);
}

// The link that reports. One without a name is nobody's, also when an interface's own link name is still empty.
Link reportingLink(const Json& report) {
    const std::string name = report.textOr("linkname", "");
    Link link;
    if (!name.empty()) {
        link = findInstance<PppInterface>(
            [&](const PppInterface& candidate) { return candidate.X_VORAN_LinkName == name; });
    }
    if (!link) {
        logs::system(LOG_ERR, "%s : no PPP interface has the link name \"%s\"\n", kHandler, name.c_str());
    }
    return link;
}

bool isIpv6(const Json& report) {
    return report.textOr("type", "") == "ipv6";
}

void sessionEstablished(const Json& report) {
    const Link link = reportingLink(report);
    if (!link) {
        return;
    }
    if (auto session = get<PppInterfacePppoe>(link.iid())) {
        session->X_VORAN_SessionID = report.textOr("sessionID", "");
        session.publish();
    }
}

int writeConnected(Link& link) {
    link->ConnectionStatus = "Connected";
    if (link.apply() != VCFG_OK) {
        logs::system(LOG_ERR, "Set Device.PPP.Interface.i fail. In %s\n", kHandler);
        return VCFG_ERR_FAIL;
    }
    return VCFG_OK;
}

void noIpInterface(const Link& link) {
    logs::system(LOG_ERR, "%s : no IP interface lies on %s\n", kHandler, pathOf(link.iid()).c_str());
}

// A link that negotiates anew has traffic on its address: what follows waits until the new one is in place. An address
// that is missing cannot be configured, and the link does not count as connected.
int configureAddress(const Link& link, const Json& report) {
    const auto ipInterface = findPppIpInterface(link.iid());
    if (!ipInterface) {
        noIpInterface(link);
        return VCFG_OK;
    }
    const std::string address = report.textOr("ip", "");
    const bool renegotiated = link->ConnectionStatus == "Connected";
    const Ipv4Configuration wanted{link->X_VORAN_ConnText, address, kHostMask, "IPCP", true, renegotiated};
    if (address.empty() || tarnSetIpv4Addr(*ipInterface, wanted) != VCFG_OK) {
        logs::print("Configure IPv4 Address Fail. In %s\n", kHandler);
        return VCFG_ERR_FAIL;
    }
    return VCFG_OK;
}

int ipv4Up(Link& link, const Json& report) {
    if (tarnIpcpObjSet(link.iid(), report.textOr("ip", ""), report.textOr("remote", ""), report.textOr("dns", "")) !=
        VCFG_OK) {
        logs::print("Set IPCP Object fail");
        return VCFG_ERR_FAIL;
    }
    logs::print("Set IPCP Object Success");
    if (configureAddress(link, report) != VCFG_OK || writeConnected(link) != VCFG_OK) {
        return VCFG_ERR_FAIL;
    }
    if (!link->IPv6CPEnable) {  // with IPv6 the DHCPv6 client's report answers
        answerWaiting("PPP_CONNECTED", link.instance());
    }
    return VCFG_OK;
}

// What the session before said about IPv6 no longer holds: the router's record goes, and the DHCPv6 client stops, to
// begin again with the next advertisement.
void forgetIpv6Session(const objIndex& ipInterface) {
    const std::string ipPath = path::of(path::kIpInterface, ipInterface.idx[0]);
    const auto router = findInstance<RoutingRouteInfoSetting>(
        [&](const RoutingRouteInfoSetting& candidate) { return candidate.Interface == ipPath; });
    if (router && router.remove() != VCFG_OK) {
        VLOG(VLOG_ERROR, "cannot delete the router record of %s", ipPath.c_str());
    }
    auto client =
        findInstance<Dhcpv6Client>([&](const Dhcpv6Client& candidate) { return candidate.Interface == ipPath; });
    if (!client) {
        return;
    }
    client->Status = "Disabled";
    if (client.apply() != VCFG_OK) {
        logs::print("Set DHCPv6 Client Fail");
    }
}

int ipv6Up(Link& link, const Json& report) {
    if (tarnIpv6cpObjSet(link.iid(), report.textOr("local", ""), report.textOr("remote", "")) != VCFG_OK) {
        logs::print("Set IPv6CP Object fail");
        return VCFG_ERR_FAIL;
    }
    logs::print("Set IPv6CP Object Success");
    logs::system(LOG_INFO, "PPP redial IPv6 without replug physical line\n");
    if (const auto ipInterface = ipInterfaceOn(pathOf(link.iid()))) {
        forgetIpv6Session(*ipInterface);
    } else {
        noIpInterface(link);
    }
    return writeConnected(link);
}

int layerUp(const Json& report) {
    Link link = reportingLink(report);
    if (!link) {
        return VCFG_OK;
    }
    if (link->ConnectionStatus != "Connecting" && link->ConnectionStatus != "Connected") {
        return VCFG_OK;
    }
    return isIpv6(report) ? ipv6Up(link, report) : ipv4Up(link, report);
}

template <class Address>
int addressDown(const Link& link, const char* addressName) {
    const auto ipInterface = ipInterfaceOn(pathOf(link.iid()));
    if (ipInterface && disableFirstAddress<Address>(*ipInterface) != VCFG_OK) {
        logs::print("Can't set IP.Interface.i.%s.i. In %s\n", addressName, kHandler);
        return VCFG_ERR_FAIL;
    }
    return VCFG_OK;
}

// Only the IPv6 layer's end answers a waiting disconnect.
int layerDown(const Json& report) {
    const Link link = reportingLink(report);
    if (!link) {
        return VCFG_OK;
    }
    if (!isIpv6(report)) {
        return addressDown<IpInterfaceIpv4Address>(link, "IPv4Address");
    }
    const int result = addressDown<IpInterfaceIpv6Address>(link, "IPv6Address");
    answerWaiting("PPP_DISCONNECTED", link.instance());
    return result;
}

}  // namespace

int processPppdMsg(const char* payload) {
    logs::system(LOG_INFO, "%s : Enter\n", __func__);
    const Json report = Json::parse(payload);
    if (report.has("sessionID")) {
        sessionEstablished(report);
        return VCFG_OK;
    }
    const auto state = report.text("state");
    logs::system(LOG_INFO, "state %s\n", state ? state->c_str() : "(null)");
    return state == "up" ? layerUp(report) : layerDown(report);
}

int tarnIpcpObjSet(const objIndex& pppInterface, std::string_view local, std::string_view remote,
                   std::string_view dns) {
    auto layer = get<PppInterfaceIpcp>(pppInterface);
    if (!layer) {
        logs::system(LOG_ERR, "%s : Can't get Device.PPP.Interface.i.IPCP\n", __func__);
        return VCFG_ERR_FAIL;
    }
    setAddress(layer->LocalIPAddress, local);
    setAddress(layer->RemoteIPAddress, remote);
    setAddressList(layer->DNSServers, dns);
    if (layer.apply() != VCFG_OK) {
        logs::system(LOG_ERR, "%s : Can't set Device.PPP.Interface.i.IPCP\n", __func__);
        return VCFG_ERR_FAIL;
    }
    return VCFG_OK;
}

int tarnIpv6cpObjSet(const objIndex& pppInterface, std::string_view local, std::string_view remote) {
    auto layer = get<PppInterfaceIpv6cp>(pppInterface);
    if (!layer) {
        logs::system(LOG_ERR, "%s : Can't get Device.PPP.Interface.i.IPV6CP\n", __func__);
        return VCFG_ERR_FAIL;
    }
    setAddressList(layer->LocalInterfaceIdentifier, local);
    setAddressList(layer->RemoteInterfaceIdentifier, remote);
    if (layer.apply() != VCFG_OK) {
        logs::system(LOG_ERR, "%s : Can't set Device.PPP.Interface.i.IPV6CP\n", __func__);
        return VCFG_ERR_FAIL;
    }
    return VCFG_OK;
}

std::optional<objIndex> findPppIpInterface(const objIndex& pppInterface) {
    const std::string pppPath = pathOf(pppInterface);
    const auto ipInterface = ipInterfaceOn(pppPath);
    const std::string ipPath = ipInterface ? path::of(path::kIpInterface, ipInterface->idx[0]) : "";
    logs::print("%s -- %s\n", pppPath.c_str(), ipPath.c_str());
    return ipInterface;
}
