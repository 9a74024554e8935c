// Apply hooks of the gateway: one program under several names, each the path pattern of an object. Called as
// `HOOK set|add|del INSTANCE-PATH` with the record, and what it was before, as JSON on standard input.
#include <json-c/json.h>

#include <cstdio>
#include <cstring>
#include <memory>
#include <string_view>

#include "client/standard_streams.h"
#include "hooks.h"

namespace {

struct Hook {
    std::string_view pattern;
    bool (*apply)(const Change&);
};
constexpr Hook kHooks[] = {
    {"IP.Interface.{i}.IPv4Address.{i}", applyIpv4Address},
    {"Routing.Router.{i}.IPv4Forwarding.{i}", applyIpv4Forwarding},
    {"DHCPv4.Client.{i}", applyDhcpv4Client},
    {"DNS.Client", applyDns},
    {"DNS.Client.Server.{i}", applyDns},
    {"Ethernet.Link.{i}", applyLink},
    {"PTM.Link.{i}", applyLink},
    {"ATM.Link.{i}", applyLink},
    {"IP.Interface.{i}", applyIpInterface},
    {"IP.Interface.{i}.IPv6Address.{i}", applyIpv6Address},
    {"IP.Interface.{i}.IPv6Prefix.{i}", applyIpv6Prefix},
    {"Routing.RouteInformation.InterfaceSetting.{i}", applyRouteInformation},
    {"DHCPv6.Client.{i}", applyDhcpv6Client},
    {"PPP.Interface.{i}", applyPppInterface},
    {"DHCPv4.Server", applyDhcpServer},
    {"DHCPv4.Server.Pool.{i}", applyDhcpServer},
    {"DHCPv4.Server.Pool.{i}.StaticAddress.{i}", applyDhcpServer},
    {"DHCPv4.Server.Pool.{i}.Option.{i}", applyDhcpServer},
    {"IP.Diagnostics.IPPing", applyDiagnostic},
    {"IP.Diagnostics.TraceRoute", applyDiagnostic},
    {"IP.Diagnostics.ServerSelectionDiagnostics", applyDiagnostic},
    {"IP.Diagnostics.DownloadDiagnostics", applyDiagnostic},
    {"IP.Diagnostics.UploadDiagnostics", applyDiagnostic},
    {"DNS.Diagnostics.NSLookupDiagnostics", applyDiagnostic},
    {"ATM.Diagnostics.F5Loopback", applyDiagnostic},
    {"ATM.Diagnostics.X_VORAN_F4Loopback", applyDiagnostic},
    {"Bridging.Bridge.{i}", applyBridging},
    {"Bridging.Bridge.{i}.Port.{i}", applyBridging},
    {"Bridging.Filter.{i}", applyBridging},
    {"Time", applyTime},
};

struct PutJson {
    void operator()(json_object* object) const { json_object_put(object); }
};

std::string standardInput() {
    std::string text;
    char piece[4096];
    for (size_t got = 0; (got = fread(piece, 1, sizeof piece, stdin)) > 0;) {
        text.append(piece, got);
    }
    return text;
}

Change changeOf(std::string_view action, const char* path, json_object* record) {
    const Values values(record);
    if (action == "del") {
        return {path, std::nullopt, values.previous() ? values.previous() : values};
    }
    return {path, values, values.previous()};
}

}  // namespace

int main(int count, char** words) {
    vcfg::holdStandardStreams();
    const char* const slash = strrchr(words[0], '/');
    const std::string_view name = slash == nullptr ? words[0] : slash + 1;
    if (count != 3) {
        fprintf(stderr, "usage: %s set|add|del INSTANCE-PATH\n", words[0]);
        return 2;
    }
    const std::unique_ptr<json_object, PutJson> record(json_tokener_parse(standardInput().c_str()));
    if (!json_object_is_type(record.get(), json_type_object)) {
        fprintf(stderr, "%s: no record on standard input\n", words[0]);
        return 1;
    }
    for (const Hook& hook : kHooks) {
        if (hook.pattern == name) {
            return hook.apply(changeOf(words[1], words[2], record.get())) ? 0 : 1;
        }
    }
    fprintf(stderr, "%s: no such hook\n", words[0]);
    return 2;
}
