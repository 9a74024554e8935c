#include "report.h"

#include <vcfg/recorder.h>

#include <algorithm>
#include <iterator>

#include "environment.h"

namespace {

// The result of the step, which those who tell it later know.
constexpr int kLeadsOn = 1;
constexpr int kIsTrouble = 2;

struct Report {
    std::string text;
    bool leadsOn = false;    // the client's next event comes of it
    bool isTrouble = false;  // it could have done better
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
    constexpr Word kWords[] = {{"bound", "it has got a lease"},
                               {"renew", "it keeps its lease"},
                               {"deconfig", "it has no lease"},
                               {"leasefail", "no DHCP server answers"},
                               {"nak", "the DHCP server refused its lease"}};
    const std::string& event = arguments[0];
    const std::string message = variable("message");
    std::string text = "udhcpc of " + variable("interface") + ": " + meaning(kWords, event);
    text += event == "bound" || event == "renew" ? " of " + lease() : "";
    text += event == "nak" && !message.empty() ? ", \"" + message + "\"" : "";
    return {text, event == "nak", event != "bound" && event != "renew"};
}

Report ofDhcpv6(const std::vector<std::string>&) {
    constexpr Word kWords[] = {{"BOUND6", "it has got a DHCPv6 lease"},
                               {"RENEW6", "its DHCPv6 lease is renewed"},
                               {"REBIND6", "it has its DHCPv6 lease from another server"},
                               {"DELEGATED6", "it has got a delegated prefix"},
                               {"EXPIRE6", "its DHCPv6 lease has ended"},
                               {"RELEASE6", "it has given its DHCPv6 lease back"},
                               {"STOP6", "it ends"}};
    const std::string reason = variable("reason");
    const std::string prefix = variable("new_dhcp6_ia_pd1_prefix1");
    std::string text = "dhcpcd of " + variable("interface") + ": " + meaning(kWords, reason);
    text += prefix.empty() ? "" : ", prefix " + prefix + "/" + variable("new_dhcp6_ia_pd1_prefix1_length");
    return {text, false, reason == "EXPIRE6" || reason == "RELEASE6" || reason == "STOP6"};
}

// As pppd's manual has them.
std::string endOfPpp(std::string_view status) {
    constexpr Word kStatuses[] = {{"0", "it has ended"},
                                  {"2", "it does not take its options"},
                                  {"4", "the kernel has no PPP"},
                                  {"5", "it was told to end"},
                                  {"8", "no connection could be made"},
                                  {"10", "the peer agreed to no network protocol"},
                                  {"15", "the peer answers no more"},
                                  {"16", "the link was hung up"},
                                  {"19", "the peer refused the user name or the password"}};
    const std::string text = meaning(kStatuses, status);
    return text == status ? "it ended with status " + text : text;
}

Report ofPpp(const std::vector<std::string>& arguments) {
    if (arguments[0] == "ended") {
        return {"pppd of " + arguments[1] + ": " + endOfPpp(arguments[2]), false, true};
    }
    constexpr Word kWords[] = {{"ip-up", "the link carries IPv4"},
                               {"ip-down", "the link carries IPv4 no more"},
                               {"ipv6-up", "the link carries IPv6"},
                               {"ipv6-down", "the link carries IPv6 no more"}};
    const std::string lasted = variable("CONNECT_TIME");
    return {"pppd of " + arguments[1] + ": " + meaning(kWords, arguments[0]) +
                (lasted.empty() ? "" : ", after " + lasted + " s"),
            false, arguments[0] == "ip-down" || arguments[0] == "ipv6-down"};
}

Report ofDhcpServer(const std::vector<std::string>& arguments) {
    constexpr Word kWords[] = {{"add", "it has got"}, {"old", "it keeps"}, {"del", "it has lost"}};
    return {"dnsmasq of " + arguments[1] + ": " + meaning(kWords, arguments[0]) + " " + arguments[2]};
}

struct Client {
    std::string_view name;
    size_t arguments;
    Report (*report)(const std::vector<std::string>&);
};
constexpr Client kClients[] = {
    {"udhcpc", 1, ofDhcpv4}, {"dhcpcd", 0, ofDhcpv6}, {"pppd", 3, ofPpp}, {"dnsmasq", 3, ofDhcpServer}};

}  // namespace

void reportEvent(std::string_view client, const std::vector<std::string>& arguments) {
    for (const Client& known : kClients) {
        if (known.name == client && arguments.size() >= known.arguments) {
            const Report report = known.report(arguments);
            vcfgEventStep("report", report.text.c_str(),
                          (report.leadsOn ? kLeadsOn : 0) | (report.isTrouble ? kIsTrouble : 0), nullptr, 0);
        }
    }
}
