#include "connection/router_advertisement.h"

#include <algorithm>
#include <charconv>
#include <limits>
#include <optional>
#include <system_error>

#include "core/address.h"
#include "core/json.h"
#include "core/log.h"
#include "core/os.h"
#include "core/path.h"
#include "core/record.h"
#include "core/shell.h"

namespace {

constexpr const char* kHandler = "processRaInfo";
constexpr int32_t kManaged = 128;
constexpr int32_t kOther = 64;
constexpr size_t kSysctlPathMax = 127;

using Entry = Record<RoutingRouteInfoSetting>;

bool contains(std::string_view text, std::string_view part) {
    return text.find(part) != std::string_view::npos;
}

// A name that can be a folder's entry; any other leads out of the folder of its kind.
bool isDeviceName(std::string_view name) {
    return !name.empty() && name != "." && name != ".." && !contains(name, "/");
}

// Whether the kernel takes advertisements on the device; one whose switch cannot be read does.
bool acceptsAdvertisements(const std::string& device) {
    constexpr size_t kNumberLimit = 16;
    std::optional<std::string> content;
    if (isDeviceName(device)) {
        const std::string file = "/proc/sys/net/ipv6/conf/" + device + "/accept_ra";
        content = os::readFile(file.substr(0, kSysctlPathMax), kNumberLimit);
    }
    if (!content) {
        logs::print("%s: get sysCmd fail \n", kHandler);
        return true;
    }
    const std::string_view number = *content;
    int value = 1;
    std::from_chars(number.data(), number.data() + number.size(), value);
    return value != 0;
}

RouterAdvertisementInfo readInfo(const Json& report, int32_t routerLifetime) {
    return {report.integer("m_flag"),     report.integer("o_flag"), report.integer("pref"),
            report.integer("prefix_len"), routerLifetime,           report.textOr("prefix", ""),
            report.textOr("router", "")};
}

enum class Verdict { NotThisOne, Accepted, Refused, Unreadable };

Verdict judgeOnPpp(const IpInterface& interface, const std::string& device) {
    const auto instance = path::instance(path::kPppInterface, interface.LowerLayers);
    const auto link = get<PppInterface>(instanceId({instance.value_or(0)}));
    if (!link) {
        logs::print("%s : Get PPP.Interface fail\n", kHandler);
        return Verdict::Unreadable;
    }
    if (link->X_VORAN_IfName != device) {
        return Verdict::NotThisOne;
    }
    return link->X_VORAN_IPv6Enable ? Verdict::Accepted : Verdict::Refused;
}

// Whether the advertisement on that device is one of this interface, which then has to run IPv6.
Verdict judge(const IpInterface& interface, const std::string& device) {
    if (interface.Enable && interface.X_VORAN_IfName == device) {
        if (interface.LowerLayers.contains("PPP")) {
            logs::print("%s: incorrect interface (%s), DON'T set to datamodel\n", kHandler, device.c_str());
            return Verdict::Refused;
        }
        return interface.IPv6Enable ? Verdict::Accepted : Verdict::Refused;
    }
    return interface.LowerLayers.contains("PPP.Interface") ? judgeOnPpp(interface, device) : Verdict::NotThisOne;
}

void take(const objIndex& ipInterface, const std::string& device, const RouterAdvertisementInfo& info) {
    const std::string ipPath = path::of(path::kIpInterface, ipInterface.idx[0]);
    tarnRaDefaultRouteCheck(ipPath, device);
    if (tarnSetIpv6RouterInfo(ipPath, info) != 0) {
        tarnSetDhcp6Client(ipPath, info.managedFlag == kManaged, info.otherFlag == kOther);
    }
}

// --- the router's record ---

Entry findEntry(std::string_view interfaceText) {
    return findInstance<RoutingRouteInfoSetting>(
        [&](const RoutingRouteInfoSetting& candidate) { return candidate.Interface == interfaceText; });
}

Entry addEntry() {
    objIndex added = noInstance();
    if (add<RoutingRouteInfoSetting>(added) != VCFG_OK) {
        VLOG(VLOG_ERROR, "fail to add RDM_OID_ROUTING_RT_INFO_INTF_SET");
        return {};
    }
    VLOG(VLOG_DEBUG, "Add RouteInformation.InterfaceSetting Success");
    Entry entry = get<RoutingRouteInfoSetting>(added);
    if (!entry) {
        VLOG(VLOG_ERROR, "fail to get RDM_OID_ROUTING_RT_INFO_INTF_SET");
    }
    return entry;
}

bool flagsChanged(const RoutingRouteInfoSetting& entry, const RouterAdvertisementInfo& info) {
    return entry.X_VORAN_ManagedFlag != info.managedFlag || entry.X_VORAN_OtherFlag != info.otherFlag;
}

// Whether the advertisement replaces what the interface's entry says. The router first recorded is kept, unless another
// one brings other flags or the first prefix.
bool replaces(const RoutingRouteInfoSetting& entry, const RouterAdvertisementInfo& info, const std::string& prefix) {
    const bool otherPrefix = entry.Prefix != prefix;
    if (entry.SourceRouter == info.router) {
        if (otherPrefix) {
            VLOG(VLOG_DEBUG, "Prefix was changed from %s to %s", entry.Prefix.c_str(), prefix.c_str());
        }
        return otherPrefix;
    }
    if (flagsChanged(entry, info) || (entry.Prefix.empty() && !prefix.empty())) {
        VLOG(VLOG_DEBUG, "Add Prefix");
        return true;
    }
    if (otherPrefix && !prefix.empty()) {
        VLOG(VLOG_DEBUG, "Multiple Router exist, select one");
    }
    return false;
}

uint32_t expiry(int32_t routerLifetime) {
    const int64_t second = os::now() + routerLifetime;
    return static_cast<uint32_t>(std::clamp<int64_t>(second, 0, std::numeric_limits<uint32_t>::max()));
}

void setPreference(RoutingRouteInfoSetting& entry, int32_t preference) {
    switch (preference) {
        case 0:
            entry.PreferredRouteFlag = "Medium";
            break;
        case 8:
            entry.PreferredRouteFlag = "High";
            break;
        case 24:
            entry.PreferredRouteFlag = "Low";
            break;
        default:  // the reserved value says nothing
            break;
    }
}

void writeEntry(Entry& entry, std::string_view ipPath, const RouterAdvertisementInfo& info, const std::string& prefix) {
    run("ip -6 rou delete default");
    entry->Interface = ipPath;
    setAddress(entry->SourceRouter, info.router);
    setAddress(entry->Prefix, prefix);
    entry->X_VORAN_ManagedFlag = info.managedFlag;
    entry->X_VORAN_OtherFlag = info.otherFlag;
    entry->RouteLifetime = expiry(info.routerLifetime);
    entry->X_VORAN_RouterLifetime = info.routerLifetime;
    setPreference(*entry, info.preference);
    VLOG(VLOG_DEBUG, "rtInfoObj->Prefix = %s", entry->Prefix.c_str());
    if (entry.apply() != VCFG_OK) {
        VLOG(VLOG_ERROR, "fail to set RDM_OID_ROUTING_RT_INFO_INTF_SET");
    }
}

// --- the interface's DHCPv6 client ---

Record<Dhcpv6Client> addClient() {
    objIndex added = noInstance();
    if (add<Dhcpv6Client>(added) != VCFG_OK) {
        logs::print("Add DHCPv6 Client Fail");
        return {};
    }
    logs::print("Add DHCPv6 Client Success");
    auto client = get<Dhcpv6Client>(added);
    if (!client) {
        logs::print("Get DHCPv6 Client Fail");
    }
    return client;
}

}  // namespace

int processRaInfo(const char* payload) {
    const Json report = Json::parse(payload);
    if (!report.valid()) {
        logs::system(LOG_ERR, "%s : the payload is not a JSON object\n", __func__);
        return VCFG_OK;
    }
    const std::string device = report.textOr("ifName", "");
    if (contains(device, "br") || !acceptsAdvertisements(device)) {  // bridges are the LAN's
        return VCFG_OK;
    }
    const int32_t routerLifetime = report.integer("router_lifetime");
    if (routerLifetime <= 0) {
        return VCFG_OK;
    }
    Verdict verdict = Verdict::NotThisOne;
    const auto interface = findInstance<IpInterface>([&](const IpInterface& candidate) {
        verdict = device.empty() ? Verdict::NotThisOne : judge(candidate, device);
        return verdict != Verdict::NotThisOne;
    });
    switch (verdict) {
        case Verdict::NotThisOne:
            return interface.code();
        case Verdict::Unreadable:
            return VCFG_ERR_FAIL;
        case Verdict::Refused:
            return VCFG_OK;
        case Verdict::Accepted:
            take(interface.iid(), device, readInfo(report, routerLifetime));
            return VCFG_OK;
    }
    return VCFG_OK;
}

void tarnRaDefaultRouteCheck(std::string_view ipPath, std::string_view device) {
    const auto router = get<RoutingRouter>(instanceId({1}));
    if (!router || !router->X_VORAN_IPv6DefaultInterfaces.contains(ipPath)) {
        shell("ip -6 ro del default dev %s 2>/dev/null", device);
    }
}

int tarnSetIpv6RouterInfo(std::string_view ipPath, const RouterAdvertisementInfo& info) {
    const std::string prefix = info.prefixLength != 0 ? info.prefix + "/" + std::to_string(info.prefixLength) : "";
    if (Entry entry = findEntry(ipPath)) {
        const bool changed = flagsChanged(*entry, info);
        if (replaces(*entry, info, prefix)) {
            writeEntry(entry, ipPath, info, prefix);
        }
        return changed ? 1 : 0;
    }
    Entry entry = findEntry("");
    if (!entry) {
        entry = addEntry();
    }
    if (!entry) {
        return 0;
    }
    writeEntry(entry, ipPath, info, prefix);
    return 1;
}

void tarnSetDhcp6Client(std::string_view ipPath, bool managed, bool other) {
    auto client = findInstance<Dhcpv6Client>(
        [&](const Dhcpv6Client& candidate) { return candidate.Interface == ipPath || candidate.Interface.empty(); });
    if (!client) {
        client = addClient();
    }
    if (!client) {
        return;
    }
    client->Enable = true;
    client->Status = "Enabled";
    client->Interface = ipPath;
    client->RequestAddresses = managed;
    client->RequestPrefixes = true;  // a prefix for the LAN is wanted whatever the flags say
    client->RequestedOptions = managed || other ? "OPTION_DNS_SERVERS" : "";
    if (client.apply() != VCFG_OK) {
        logs::print("Set DHCPv6 Client Fail");
    }
}
