// Hook of the clients that bring the gateway its connections, and of its LAN's DHCP server: turns an event of theirs
// into the message that the monitor daemon takes. With --print it writes the payload to standard output instead.
//
//   port-event udhcpc EVENT      the lease is in the environment
//   port-event dhcpcd            so are the reason, the address and the prefix
//   port-event dnsmasq ACTION MAC ADDRESS ...   a lease of the LAN; what the client announced is in the environment
//   port-event pppd SCRIPT ...   one of pppd's scripts, with the arguments that pppd gives it
//   port-event pppd ended LINK STATUS    pppd has ended, which no script is told
#include <vcfg/vcfg.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "client/standard_streams.h"
#include "delivery.h"
#include "dhcpv4.h"
#include "dhcpv6.h"
#include "environment.h"
#include "lease_event.h"
#include "ppp.h"
#include "report.h"

namespace {

struct Event {
    uint32_t type;
    std::string payload;
};
using Events = std::vector<Event>;

Events leaseEvents(const std::vector<std::string>& arguments) {
    const auto report = leaseReport(arguments[0]);
    if (!report) {
        return {};
    }
    const bool renewed = report->event == LeaseEvent::Renewed;
    return {{renewed ? VCFG_MSG_DHCPC_RENEWED : VCFG_MSG_DHCPC_OPTION, report->payload}};
}

Events lanEvents(const std::vector<std::string>& arguments) {
    Events events;
    for (const std::string& payload : lanLeasePayloads(arguments[0], arguments[1], arguments[2])) {
        events.push_back({VCFG_MSG_DHCPD_OPTION, payload});
    }
    return events;
}

Events dhcpv6Events(const std::vector<std::string>&) {
    const auto payload = dhcpv6Payload(variable("reason"));
    return payload ? Events{{VCFG_MSG_DHCP6C, *payload}} : Events{};
}

Events pppEvents(const std::vector<std::string>& arguments) {
    Events events;
    const std::vector<std::string> ofPppd(arguments.begin() + 1, arguments.end());
    const auto session = arguments[0] == "ip-up" ? sessionPayload() : std::nullopt;
    for (const auto& payload : {session, pppPayload(arguments[0], ofPppd)}) {
        if (payload) {
            events.push_back({VCFG_MSG_PPPD, *payload});
        }
    }
    return events;
}

struct Client {
    std::string_view name;
    size_t arguments;
    Events (*events)(const std::vector<std::string>&);
};
constexpr Client kClients[] = {
    {"udhcpc", 1, leaseEvents}, {"dhcpcd", 0, dhcpv6Events}, {"pppd", 3, pppEvents}, {"dnsmasq", 3, lanEvents}};

bool report(const Events& events, bool print) {
    bool done = true;
    for (const Event& event : events) {
        if (print) {
            puts(event.payload.c_str());
        } else {
            done = deliver(event.type, event.payload) && done;
        }
    }
    return done;
}

}  // namespace

int main(int count, char** arguments) {
    vcfg::holdStandardStreams();
    const bool print = count > 1 && strcmp(arguments[1], "--print") == 0;
    const int first = print ? 2 : 1;
    const std::string_view client = count > first ? arguments[first] : "";
    const std::vector<std::string> rest(arguments + std::min(first + 1, count), arguments + count);
    for (const Client& known : kClients) {
        if (known.name == client && rest.size() >= known.arguments) {
            if (!print) {
                reportEvent(client, rest);
            }
            if (client == "udhcpc" && !print) {
                noteLease(rest[0]);
            }
            return report(known.events(rest), print) ? 0 : 1;
        }
    }
    fprintf(stderr,
            "usage: port-event [--print] udhcpc EVENT\n"
            "       port-event [--print] dhcpcd\n"
            "       port-event [--print] dnsmasq ACTION MAC ADDRESS [NAME]\n"
            "       port-event [--print] pppd SCRIPT DEVICE TERMINAL SPEED LOCAL REMOTE [PARAMETER]\n"
            "       port-event [--print] pppd ended LINK STATUS\n");
    return 2;
}
