#include "report.h"

#include <vcfg/recorder.h>

#include <algorithm>
#include <iterator>

#include "environment.h"

namespace {

struct Report {
    std::string text;
    bool leadsOn = false;  // the client's next event comes of it
};

struct Word {
    std::string_view word;
    const char* text;
};

template <size_t Count>
std::string meaning(const Word (&words)[Count], std::string_view word) {
    const auto* const found =
        std::find_if(std::begin(words), std::end(words), [word](const Word& known) { return known.word == word; });
    return found != std::end(words) ? found->text : std::string(word);
}

std::string lease() {
    const std::string server = variable("serverid");
    return variable("ip") + " for " + variable("lease") + " s" + (server.empty() ? "" : ", by " + server);
}

Report ofDhcpv4(const std::vector<std::string>& arguments) {
    constexpr Word kWords[] = {{"bound", "has got a lease"},
                               {"renew", "has its lease renewed"},
                               {"deconfig", "has no lease"},
                               {"leasefail", "no DHCP server answers"},
                               {"nak", "the DHCP server refused the lease"}};
    const std::string& event = arguments[0];
    const std::string message = variable("message");
    std::string text = variable("interface") + ": " + meaning(kWords, event);
    text += event == "bound" || event == "renew" ? " of " + lease() : "";
    text += event == "nak" && !message.empty() ? ", \"" + message + "\"" : "";
    return {text, event == "nak"};
}

Report ofDhcpv6(const std::vector<std::string>&) {
    constexpr Word kWords[] = {{"BOUND6", "has got a DHCPv6 lease"},
                               {"RENEW6", "has its DHCPv6 lease renewed"},
                               {"REBIND6", "has its DHCPv6 lease from another server"},
                               {"DELEGATED6", "has got a delegated prefix"},
                               {"EXPIRE6", "its DHCPv6 lease has ended"},
                               {"RELEASE6", "has given its DHCPv6 lease back"},
                               {"STOP6", "the DHCPv6 client ends"}};
    const std::string prefix = variable("new_dhcp6_ia_pd1_prefix1");
    std::string text = variable("interface") + ": " + meaning(kWords, variable("reason"));
    text += prefix.empty() ? "" : ", prefix " + prefix + "/" + variable("new_dhcp6_ia_pd1_prefix1_length");
    return {text};
}

Report ofPpp(const std::vector<std::string>& arguments) {
    constexpr Word kWords[] = {{"ip-up", "the link carries IPv4"},
                               {"ip-down", "the link carries IPv4 no more"},
                               {"ipv6-up", "the link carries IPv6"},
                               {"ipv6-down", "the link carries IPv6 no more"}};
    const std::string lasted = variable("CONNECT_TIME");
    return {arguments[1] + ": " + meaning(kWords, arguments[0]) + (lasted.empty() ? "" : ", after " + lasted + " s")};
}

Report ofDhcpServer(const std::vector<std::string>& arguments) {
    constexpr Word kWords[] = {{"add", "a host of the LAN has got"}, {"old", "a host of the LAN keeps"},
                               {"del", "a host of the LAN has lost"}};
    return {arguments[1] + ": " + meaning(kWords, arguments[0]) + " " + arguments[2]};
}

struct Client {
    std::string_view name;
    size_t arguments;
    Report (*report)(const std::vector<std::string>&);
};
constexpr Client kClients[] = {
    {"udhcpc", 1, ofDhcpv4}, {"dhcpcd", 0, ofDhcpv6}, {"pppd", 2, ofPpp}, {"dnsmasq", 3, ofDhcpServer}};

}  // namespace

void reportEvent(std::string_view client, const std::vector<std::string>& arguments) {
    for (const Client& known : kClients) {
        if (known.name == client && arguments.size() >= known.arguments) {
            const Report report = known.report(arguments);
            vcfgEventStep("report", report.text.c_str(), report.leadsOn ? 1 : 0, nullptr, 0);
        }
    }
}
