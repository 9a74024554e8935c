#include "ppp.h"

#include <strings.h>

#include <algorithm>
#include <cstdio>
#include <iterator>
#include <memory>

#include "environment.h"
#include "payload.h"

namespace {

constexpr const char* kSessions = "/proc/net/pppoe";

struct Script {
    std::string_view name;
    const char* state;
    bool ipv6;
};
constexpr Script kScripts[] = {
    {"ip-up", "up", false},
    {"ip-down", "down", false},
    {"ipv6-up", "up", true},
    {"ipv6-down", "down", true},
};

enum Argument { kLocal = 3, kRemote = 4 };

std::string argument(const std::vector<std::string>& arguments, Argument which) {
    return arguments.size() > which ? arguments[which] : std::string();
}

std::string nameServers() {
    const std::string first = variable("DNS1");
    const std::string second = variable("DNS2");
    return first.empty() || second.empty() ? first + second : first + "," + second;
}

struct CloseFile {
    void operator()(FILE* file) const { fclose(file); }
};

std::string content(const char* path) {
    const std::unique_ptr<FILE, CloseFile> file(fopen(path, "re"));
    std::string text;
    char piece[4096];
    for (size_t got = 0; file && (got = fread(piece, 1, sizeof piece, file.get())) > 0;) {
        text.append(piece, got);
    }
    return text;
}

}  // namespace

std::optional<std::string> pppPayload(std::string_view script, const std::vector<std::string>& arguments) {
    const auto* const event = std::find_if(std::begin(kScripts), std::end(kScripts),
                                           [script](const Script& known) { return known.name == script; });
    if (event == std::end(kScripts)) {
        return std::nullopt;
    }
    Payload payload;
    payload.textIfAny("linkname", variable("LINKNAME"));
    payload.text("state", event->state);
    payload.text("type", event->ipv6 ? "ipv6" : "ipv4");
    payload.textIfAny(event->ipv6 ? "local" : "ip", argument(arguments, kLocal));
    payload.textIfAny("remote", argument(arguments, kRemote));
    if (!event->ipv6) {
        payload.text("dns", nameServers());
    }
    return payload.str();
}

std::optional<std::string> sessionPayload() {
    const std::string session = sessionOf(content(kSessions), variable("MACREMOTE"));
    if (session.empty()) {
        return std::nullopt;
    }
    Payload payload;
    payload.text("sessionID", session);
    payload.textIfAny("linkname", variable("LINKNAME"));
    return payload.str();
}

std::string sessionOf(const std::string& list, const std::string& peer) {
    const std::vector<std::string> parts = words(list);
    for (size_t i = 1; i < parts.size(); ++i) {
        if (!peer.empty() && strcasecmp(parts[i].c_str(), peer.c_str()) == 0) {
            return parts[i - 1];
        }
    }
    return {};
}
