#include "connection/dhcpv4_client.h"

#include <vcfg/msg_types.h>

#include <string>

#include "connection/ip_interface.h"
#include "connection/ipv4_address.h"
#include "connection/option121.h"
#include "connection/pending_request.h"
#include "core/address.h"
#include "core/json.h"
#include "core/log.h"
#include "core/path.h"
#include "core/record.h"

namespace {

constexpr const char* kHandler = "processDhcpcMsg";
constexpr uint32_t kOptionClasslessRoutes = 121;

using Client = Record<Dhcpv4Client>;

// The client that the event is about. One without a pid file is nobody's, also when a client's own pid file is still
// unset.
Client reportingClient(const Json& event) {
    const std::string pidFile = event.textOr("pidfile", "");
    Client client;
    if (!pidFile.empty()) {
        client = findInstance<Dhcpv4Client>(
            [&](const Dhcpv4Client& candidate) { return candidate.X_VORAN_PidFile == pidFile; });
    }
    if (!client) {
        logs::system(LOG_ERR, "%s : no DHCPv4 client has the pid file \"%s\"\n", kHandler, pidFile.c_str());
    }
    return client;
}

objIndex interfaceOf(const Dhcpv4Client& client) {
    return instanceId({path::instance(path::kIpInterface, client.Interface).value_or(0)});
}

// "a b" becomes "a,b"; a single server stays as it is.
std::string joinedServers(const std::string& servers) {
    constexpr const char* kBlanks = " \t\r\n";
    const size_t first = servers.find_first_not_of(kBlanks);
    if (first == std::string::npos) {
        return {};
    }
    const size_t firstEnd = servers.find_first_of(kBlanks, first);
    const size_t second = servers.find_first_not_of(kBlanks, firstEnd);
    const std::string one = servers.substr(first, firstEnd - first);
    if (second == std::string::npos) {
        return one;
    }
    return one + "," + servers.substr(second, servers.find_first_of(kBlanks, second) - second);
}

void takeLease(Dhcpv4Client& client, const Json& event) {
    if (const auto mask = event.text("subnet")) {
        setAddress(client.SubnetMask, *mask);
    }
    if (const auto address = event.text("ip")) {
        setAddress(client.IPAddress, *address);
    }
    if (const auto routers = event.text("router")) {
        setAddressList(client.IPRouters, *routers);
    }
    if (const auto servers = event.text("dns")) {
        setAddressList(client.DNSServers, joinedServers(*servers));
    }
}

// Puts the event's value into the option. True when the routes of option 121 have to be made anew: it disappeared, or a
// renewal changed it. (A changed value in a new lease does not count: the routing starts afresh then.)
bool takeOption(Dhcpv4ClientReqOption& option, const Json& event, uint32_t type) {
    const bool isRoutes = option.Tag == kOptionClasslessRoutes;
    const auto value = event.text(option.Alias.c_str());
    if (!value) {
        const bool disappeared = isRoutes && !option.Value.empty();
        option.Value = "";
        return disappeared;
    }
    const bool changed = isRoutes && option.Value != *value && type == VCFG_MSG_DHCPC_RENEWED;
    option.Value = *value;
    return changed;
}

void updateOptions(const Client& client, const Json& event, uint32_t type) {
    for (auto& option : children<Dhcpv4ClientReqOption>(client.iid())) {
        if (!option->Enable) {
            continue;
        }
        if (takeOption(*option, event, type)) {
            tarnWanDhcpcOption121Apply(client->Interface, parseOption121Routes(option->Value), true);
        }
        if (const int code = option.apply(); code != VCFG_OK) {
            logs::system(LOG_ERR, "%s : Set DHCPv4 Request Options fail with ret=%d\n", kHandler, code);
        }
    }
}

void clearOptions(const Client& client) {
    for (auto& option : children<Dhcpv4ClientReqOption>(client.iid())) {
        option->Value = "";
        option.publish();
    }
}

void writeClient(const Client& client) {
    if (client.apply() != VCFG_OK) {
        logs::system(LOG_ERR, "%s : Set DHCPv4 Client fail\n", kHandler);
    }
}

// A lease without an address has none to configure: that is a failure, and nobody is told that the connection stands.
int configureAddress(const objIndex& ipInterface, const Json& event) {
    const std::string address = event.textOr("ip", "");
    const std::string mask = event.textOr("subnet", "");
    const Ipv4Configuration wanted{"", address, mask, "DHCP", true, true};
    if (address.empty() || tarnSetIpv4Addr(ipInterface, wanted) != VCFG_OK) {
        logs::system(LOG_ERR, "%s : Configure IPv4 Address Fail\n", kHandler);
        return VCFG_ERR_FAIL;
    }
    return VCFG_OK;
}

int leaseHeld(Client client, const Json& event, uint32_t type) {
    const objIndex interfaceId = interfaceOf(*client);
    const auto interface = get<IpInterface>(interfaceId);
    if (!interface || interface->Status != "Up") {
        logs::system(LOG_ERR, "%s : IP.Interface.%d is not activated\n", kHandler, interfaceId.idx[0]);
        return VCFG_OK;
    }
    const bool renewal = type == VCFG_MSG_DHCPC_RENEWED;
    const auto address = event.text("ip");
    if (renewal && address && client->IPAddress == *address) {
        return VCFG_OK;
    }
    client->DHCPStatus = renewal ? "Renewing" : "Bound";
    takeLease(*client, event);
    updateOptions(client, event, type);
    writeClient(client);
    tarnSet6rdInfo(interfaceId, event, true);
    if (!renewal && configureAddress(interfaceId, event) != VCFG_OK) {
        return VCFG_ERR_FAIL;
    }
    if (!interface->IPv6Enable) {  // with IPv6 the IPv6 side answers
        answerWaiting("DHCP_BOUND", client.instance());
    }
    return VCFG_OK;
}

int leaseReleased(Client client, const Json& event) {
    if (client->Interface.empty()) {
        return VCFG_OK;
    }
    const objIndex interfaceId = interfaceOf(*client);
    if (disableFirstAddress<IpInterfaceIpv4Address>(interfaceId) != VCFG_OK) {
        logs::system(LOG_ERR, "%s : Can't set IP.Interface.i.IPv4Address.i\n", kHandler);
    }
    client->DHCPStatus = "Release";
    logs::system(LOG_INFO, "%s : set dhcpv4Client->DHCPStatus = TR181_DHCP_Release\n", kHandler);
    clearOptions(client);
    writeClient(client);
    answerWaiting("DHCP_Release", client.instance());
    tarnSet6rdInfo(interfaceId, event, false);
    return VCFG_OK;
}

// A list that is too long would have the whole write refused.
void copyRelays(Json& parameters, const Json& event) {
    constexpr size_t kLimit = decltype(IpInterface::X_VORAN_BorderRelayIPv4Addresses)::capacity;
    const auto relays = event.text("brAddr");
    if (relays && relays->size() > kLimit) {
        parameters.set("X_VORAN_BorderRelayIPv4Addresses", wholeEntries(*relays, kLimit));
    } else {
        parameters.copy("X_VORAN_BorderRelayIPv4Addresses", event, "brAddr");
    }
}

void add6rdParameters(Json& parameters, const Json& event) {
    parameters.set("X_VORAN_6RD_Assigned", true);
    parameters.copy("X_VORAN_IPv4MaskLength", event, "v4MaskLen");
    const auto prefix = event.text("v6Prefix");
    parameters.set("X_VORAN_SPIPv6Prefix",
                   prefix ? *prefix + "/" + std::to_string(event.integer("v6PrefixLen")) : std::string());
    copyRelays(parameters, event);
}

void clear6rdParameters(Json& parameters, const IpInterface& interface) {
    parameters.set("X_VORAN_6RD_Assigned", false);
    if (interface.X_VORAN_6RD_Mode.contains("dhcp")) {  // configured by hand, they are not ours to clear
        parameters.set("X_VORAN_IPv4MaskLength", 0);
        parameters.set("X_VORAN_SPIPv6Prefix", "");
        parameters.set("X_VORAN_BorderRelayIPv4Addresses", "");
    }
}

// Writing the setting back unchanged makes its owner build the router advertisements anew.
void rebuildRouterAdvertisements() {
    const auto setting = get<RaInterfaceSetting>(instanceId({1}));
    if (!setting) {
        logs::print("%s : Get RA Interface fail\n", "tarnSet6rdInfo");
    } else if (setting.apply() != VCFG_OK) {
        logs::print("%s : Set RA Interface fail\n", "tarnSet6rdInfo");
    }
}

}  // namespace

int processDhcpcMsg(const char* payload, uint32_t type) {
    logs::system(LOG_INFO, "%s : Enter\n", __func__);
    const Json event = Json::parse(payload);
    if (!event.valid()) {
        logs::system(LOG_ERR, "%s : the payload is not a JSON object\n", __func__);
        return VCFG_OK;
    }
    auto client = reportingClient(event);
    if (!client) {
        return VCFG_OK;
    }
    return event.flag("addressAssigned") ? leaseHeld(std::move(client), event, type)
                                         : leaseReleased(std::move(client), event);
}

void tarnSet6rdInfo(const objIndex& ipInterface, const Json& event, bool addressAssigned) {
    const auto interface = get<IpInterface>(ipInterface);
    if (!interface) {
        logs::print("%s : Get IP Interface fail\n", __func__);
        return;
    }
    Json parameters = Json::object();
    if (!parameters.copy("X_VORAN_6RD_LeaseTime", event, "lease")) {
        parameters.set("X_VORAN_6RD_LeaseTime", addressAssigned ? -1 : 0);
    }
    if (event.flag("v6rdAssigned")) {
        add6rdParameters(parameters, event);
    } else {
        clear6rdParameters(parameters, *interface);
        rebuildRouterAdvertisements();
    }
    if (vcfgFeObjWrite(RDM_OID_IP_IFACE, &ipInterface, parameters.toText().c_str(), VCFG_FE_WRITE_NO_APPLY, nullptr) !=
        VCFG_OK) {
        logs::system(LOG_ERR, "%s : Set IP Interface fail\n", __func__);
    }
}
