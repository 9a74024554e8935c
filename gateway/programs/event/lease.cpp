#include "lease.h"

#include <arpa/inet.h>
#include <json-c/json.h>

#include <charconv>
#include <cstdlib>
#include <memory>

#include "option_bytes.h"

namespace {

struct PutJson {
    void operator()(json_object* object) const { json_object_put(object); }
};
using Json = std::unique_ptr<json_object, PutJson>;

void addText(const Json& to, const char* key, const std::string& value) {
    json_object_object_add(to.get(), key, json_object_new_string_len(value.data(), static_cast<int>(value.size())));
}

void addTextIfAny(const Json& to, const char* key, const std::string& value) {
    if (!value.empty()) {
        addText(to, key, value);
    }
}

void addNumber(const Json& to, const char* key, const std::string& text) {
    int32_t value = 0;
    const auto [end, problem] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (!text.empty() && problem == std::errc() && end == text.data() + text.size()) {
        json_object_object_add(to.get(), key, json_object_new_int(value));
    }
}

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
void addSixRd(const Json& to) {
    const std::vector<std::string> parts = words(variable("ip6rd"));
    const bool assigned = parts.size() >= 4;
    json_object_object_add(to.get(), "v6rdAssigned", json_object_new_boolean(assigned));
    if (assigned) {
        addNumber(to, "v4MaskLen", parts[0]);
        addNumber(to, "v6PrefixLen", parts[1]);
        addText(to, "v6Prefix", parts[2]);
        addText(to, "brAddr", joined(parts, 3, ","));
    }
}

void addLease(const Json& to, const std::vector<WantedOption>& wanted) {
    addTextIfAny(to, "ip", variable("ip"));
    addTextIfAny(to, "subnet", dottedMask());
    addText(to, "router", defaultRouters());
    addText(to, "dns", nameServers());
    addNumber(to, "lease", variable("lease"));
    addSixRd(to);
    for (const WantedOption& option : wanted) {
        addTextIfAny(to, option.key.c_str(), optionText(option.tag, optionData(option.tag)));
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
    const Json payload(json_object_new_object());
    json_object_object_add(payload.get(), "addressAssigned", json_object_new_boolean(event != LeaseEvent::Lost));
    addText(payload, "pidfile", pidFileOf(variable("interface")));
    if (event != LeaseEvent::Lost) {
        addLease(payload, wanted);
    }
    return json_object_to_json_string_ext(payload.get(), JSON_C_TO_STRING_PLAIN | JSON_C_TO_STRING_NOSLASHESCAPE);
}

std::string pidFileOf(std::string_view device) {
    return "/var/run/udhcpc-" + std::string(device) + ".pid";
}

std::vector<std::string> words(std::string_view text) {
    constexpr std::string_view kBlanks = " \t\r\n";
    std::vector<std::string> parts;
    while (true) {
        const size_t begin = text.find_first_not_of(kBlanks);
        if (begin == std::string_view::npos) {
            return parts;
        }
        text.remove_prefix(begin);
        parts.emplace_back(text.substr(0, text.find_first_of(kBlanks)));
        text.remove_prefix(parts.back().size());
    }
}

std::string variable(const char* name) {
    const char* const value = getenv(name);
    return value == nullptr ? std::string() : value;
}
