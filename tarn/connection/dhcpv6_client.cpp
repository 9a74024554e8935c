#include "connection/dhcpv6_client.h"

#include <string>

#include "connection/dns_client.h"
#include "connection/ipv6_address.h"
#include "connection/pending_request.h"
#include "core/json.h"
#include "core/log.h"
#include "core/path.h"
#include "core/record.h"

namespace {

constexpr const char* kHandler = "processDhcp6cMsg";
constexpr std::string_view kOrigin = "DHCPv6";

using Client = Record<Dhcpv6Client>;

// A text that is there and says something. An empty one is what a client's script makes of a variable that is not set,
// so it counts as missing.
std::optional<std::string> given(const Json& report, const char* key) {
    auto text = report.text(key);
    return text && !text->empty() ? text : std::nullopt;
}

// The client that sent the report; an empty Record holds the code with which the search ended. A report without a pid
// file is nobody's, also when a client's own pid file is still unset.
Client reportingClient(const Json& report) {
    const auto pidFile = given(report, "pidfile");
    Client client;
    if (pidFile) {
        client = findInstance<Dhcpv6Client>(
            [&](const Dhcpv6Client& candidate) { return candidate.X_VORAN_PidFile == *pidFile; });
    }
    if (!client) {
        logs::system(LOG_ERR, "%s : no DHCPv6 client has the pid file \"%s\"\n", kHandler,
                     pidFile.value_or("").c_str());
    }
    return client;
}

std::optional<objIndex> interfaceOf(const Dhcpv6Client& client) {
    const auto instance = path::instance(path::kIpInterface, client.Interface);
    if (!instance) {
        logs::system(LOG_ERR, "%s : the client's interface \"%s\" is none\n", kHandler, client.Interface.c_str());
        return std::nullopt;
    }
    return instanceId({*instance});
}

// The client gave up: what it had obtained goes, what was configured by hand stays.
void withdraw(const objIndex& ipInterface) {
    const auto address = findChild<IpInterfaceIpv6Address>(
        ipInterface, [](const IpInterfaceIpv6Address& candidate) { return candidate.Origin == kOrigin; });
    if (address && address.remove() != VCFG_OK) {
        VLOG(VLOG_ERROR, "cannot delete the address of IP.Interface.%d", ipInterface.idx[0]);
    }
    for (const auto& prefix : children<IpInterfaceIpv6Prefix>(ipInterface)) {
        if (prefix->Origin != "Static" && prefix.remove() != VCFG_OK) {
            VLOG(VLOG_ERROR, "cannot delete a prefix of IP.Interface.%d", ipInterface.idx[0]);
        }
    }
}

int configureAddress(const objIndex& ipInterface, const Json& report) {
    const auto address = given(report, "addr");
    if (!report.flag("addrAssigned") || !address) {
        return VCFG_OK;
    }
    const int code = tarnSetIpv6Addr(ipInterface, *address, kOrigin, std::nullopt, true);
    if (code != VCFG_OK) {
        logs::system(LOG_ERR, "%s : Configure IPv6 Address Fail\n", kHandler);
    }
    return code;
}

int configurePrefix(const objIndex& ipInterface, const Json& report) {
    const auto prefix = given(report, "prefix");
    if (!report.flag("prefixAssigned") || !prefix) {
        return VCFG_OK;
    }
    const int code = tarnSetIpv6Prefix(ipInterface, *prefix, "PrefixDelegation", true);
    if (code != VCFG_OK) {
        logs::system(LOG_ERR, "%s : Configure IPv6 Prefix Fail\n", kHandler);
    }
    return code;
}

int configure(const objIndex& ipInterface, const Json& report) {
    if (const auto interface = get<IpInterface>(ipInterface); interface && interface->Status != "Up") {
        return VCFG_OK;
    }
    if (const auto server = given(report, "nameserver")) {
        tarnSetDnsClientServer(ipInterface, *server, kOrigin);
    }
    if (const int code = configureAddress(ipInterface, report); code != VCFG_OK) {
        return code;
    }
    if (vcfgTarnDnsUpdate() != VCFG_OK) {
        logs::print("%s : Update Default DNS Server Fail\n", kHandler);
    }
    return configurePrefix(ipInterface, report);
}

bool hasIpv6Address(const objIndex& ipInterface) {
    const auto address = firstChild<IpInterfaceIpv6Address>(ipInterface);
    return address && address->Enable && address->Status == "Enabled" && !address->IPAddress.empty();
}

// Answers the requester that waits for an interface which now has an IPv6 address. Once the awaited interface was met,
// every interface after it counts too: any of them having an address ends the wait's walk there.
void answerWhoWaitsForIpv6() {
    const auto waiting = pending::peek();
    if (!waiting) {
        return;
    }
    const std::string pppPath = path::of(path::kPppInterface, waiting->idx);
    bool candidate = false;
    for (const auto& interface : instances<IpInterface>()) {
        const bool onPpp = interface->LowerLayers == pppPath;
        const bool awaited = onPpp || interface.instance() == waiting->idx;
        candidate = candidate || (awaited && interface->Status == "Up");
        if (candidate && hasIpv6Address(interface.iid())) {
            if (awaited) {
                answerWaiting(onPpp ? "PPP_CONNECTED" : "DHCP_BOUND", waiting->idx);
            }
            return;
        }
    }
}

int handle(const Json& report, const Client& client) {
    if (!client) {
        return VCFG_ERR_NOT_FOUND;
    }
    const auto ipInterface = interfaceOf(*client);
    return ipInterface ? configure(*ipInterface, report) : int{VCFG_ERR_NOT_FOUND};
}

int timedOut(const Client& client) {
    if (!client) {
        return client.code();
    }
    if (const auto ipInterface = interfaceOf(*client)) {
        withdraw(*ipInterface);
    }
    return VCFG_OK;
}

}  // namespace

int processDhcp6cMsg(const char* payload) {
    const Json report = Json::parse(payload);
    const Client client = reportingClient(report);
    if (report.flag("timeout")) {
        return timedOut(client);
    }
    const int result = handle(report, client);
    answerWhoWaitsForIpv6();
    return result;
}
