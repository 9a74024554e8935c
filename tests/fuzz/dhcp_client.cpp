// What the DHCP clients have made of a server's packets: variables, a "name=value" a line. The payloads that they
// become are JSON, whatever is in them.
#include <json-c/json.h>

#include <cstdlib>
#include <vector>

#include "dhcpv6.h"
#include "lease.h"
#include "target.h"

namespace {

std::vector<std::string> setVariables(std::string_view lines) {
    std::vector<std::string> names;
    while (!lines.empty()) {
        const size_t end = lines.find('\n');
        const std::string_view line = lines.substr(0, end);
        const size_t equals = line.find('=');
        const std::string name(line.substr(0, equals));
        if (equals != std::string_view::npos &&
            setenv(name.c_str(), std::string(line.substr(equals + 1)).c_str(), 1) == 0) {
            names.push_back(name);
        }
        lines.remove_prefix(end == std::string_view::npos ? lines.size() : end + 1);
    }
    return names;
}

void checkJson(const std::string& payload) {
    json_object* const parsed = json_tokener_parse(payload.c_str());
    if (parsed == nullptr) {
        finding("the payload is no JSON: " + payload);
    }
    json_object_put(parsed);
}

}  // namespace

void handleInput(std::string_view bytes) {
    const std::vector<std::string> names = setVariables(bytes);
    const std::vector<WantedOption> wanted{
        {121, "opt121"}, {3, "routers"}, {12, "name"}, {51, "lease"}, {43, "vendor"}};
    checkJson(leasePayload(LeaseEvent::Bound, wanted));
    checkJson(leasePayload(LeaseEvent::Lost, wanted));
    if (const auto payload = dhcpv6Payload("BOUND6")) {
        checkJson(*payload);
    }
    for (const std::string& name : names) {
        unsetenv(name.c_str());
    }
}
