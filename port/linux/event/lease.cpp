#include "lease.h"

#include <arpa/inet.h>

#include <charconv>

#include "environment.h"
#include "option_bytes.h"
#include "payload.h"

namespace {

std::string joined(const std::vector<std::string>& parts, size_t from, const char* between) {
    std::string text;
    for (size_t i = from; i < parts.size(); ++i) {
        text += (i == from ? "" : between) + parts[i];
    }
    return text;
}

// The client says the mask as a width and, not always, in dots.
std::string dottedMask() {
    std::string dotted = variable("subnet");
    const std::string width = variable("mask");
    unsigned bits = 0;
    const auto [end, problem] = std::from_chars(width.data(), width.data() + width.size(), bits);
    if (!dotted.empty() || width.empty() || problem != std::errc() || end != width.data() + width.size() || bits > 32) {
        return dotted;
    }
    const in_addr mask{htonl(bits == 0 ? 0 : ~uint32_t{0} << (32 - bits))};
    char text[INET_ADDRSTRLEN];
    return inet_ntop(AF_INET, &mask, text, sizeof text);
}

// With classless routes the router option does not count: the default router is the one that they name.
std::string defaultRouters() {
    const std::vector<std::string> pairs = words(variable("staticroutes"));
    if (pairs.empty()) {
        return joined(words(variable("router")), 0, ",");
    }
    for (size_t i = 0; i + 1 < pairs.size(); i += 2) {
        if (pairs[i] == "0.0.0.0/0") {
            return pairs[i + 1];
        }
    }
    return {};
}

// The daemon takes one address, or two with a blank between them.
std::string nameServers() {
    std::vector<std::string> servers = words(variable("dns"));
    if (servers.size() > 2) {
        servers.resize(2);
    }
    return joined(servers, 0, " ");
}

// Option 212 as the client writes it: IPv4 mask width, prefix width, prefix, border relays.
void addSixRd(Payload& to) {
    const std::vector<std::string> parts = words(variable("ip6rd"));
    const bool assigned = parts.size() >= 4;
    to.flag("v6rdAssigned", assigned);
    if (assigned) {
        to.number("v4MaskLen", parts[0]);
        to.number("v6PrefixLen", parts[1]);
        to.text("v6Prefix", parts[2]);
        to.text("brAddr", joined(parts, 3, ","));
    }
}

void addLease(Payload& to, const std::vector<WantedOption>& wanted) {
    to.textIfAny("ip", variable("ip"));
    to.textIfAny("subnet", dottedMask());
    to.text("router", defaultRouters());
    to.text("dns", nameServers());
    to.number("lease", variable("lease"));
    addSixRd(to);
    for (const WantedOption& option : wanted) {
        to.textIfAny(option.key.c_str(), optionText(option.tag, optionData(option.tag)));
    }
}

}  // namespace

std::optional<LeaseEvent> leaseEvent(std::string_view word) {
    if (word == "bound") {
        return LeaseEvent::Bound;
    }
    if (word == "renew") {
        return LeaseEvent::Renewed;
    }
    return word == "deconfig" ? std::optional(LeaseEvent::Lost) : std::nullopt;
}

std::string leasePayload(LeaseEvent event, const std::vector<WantedOption>& wanted) {
    Payload payload;
    payload.flag("addressAssigned", event != LeaseEvent::Lost);
    payload.text("pidfile", pidFileOf(variable("interface")));
    if (event != LeaseEvent::Lost) {
        addLease(payload, wanted);
    }
    return payload.str();
}

std::string pidFileOf(std::string_view device) {
    return "/var/run/udhcpc-" + std::string(device) + ".pid";
}
