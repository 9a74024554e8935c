#include "client_identity.h"

#include <json-c/json.h>
#include <netinet/ether.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <memory>

#include "environment.h"
#include "payload.h"

namespace {

struct PutJson {
    void operator()(json_object* object) const { json_object_put(object); }
};
using JsonPtr = std::unique_ptr<json_object, PutJson>;

Identity announced() {
    return {variable("DNSMASQ_CPEWAN_OUI"), variable("DNSMASQ_CPEWAN_SERIAL"), variable("DNSMASQ_CPEWAN_CLASS")};
}

bool isAny(const Identity& identity) {
    return !identity.oui.empty() || !identity.serial.empty() || !identity.productClass.empty();
}

// Empty for a text that is no hardware address.
std::string fileOf(const std::string& mac) {
    constexpr const char* kDirectory = "/run/tarn/clients";
    ether_addr address{};
    char text[sizeof "00:00:00:00:00:00"];
    if (ether_aton_r(mac.c_str(), &address) == nullptr) {
        return {};
    }
    mkdir("/run/tarn", 0755);
    mkdir(kDirectory, 0700);
    return std::string(kDirectory) + "/" + ether_ntoa_r(&address, text);
}

void keep(const std::string& file, const Identity& identity) {
    Payload payload;
    payload.text("oui", identity.oui);
    payload.text("serial", identity.serial);
    payload.text("productClass", identity.productClass);
    const JsonPtr object(json_tokener_parse(payload.str().c_str()));
    if (json_object_to_file_ext(file.c_str(), object.get(), JSON_C_TO_STRING_PLAIN) != 0) {
        fprintf(stderr, "port-event: %s\n", json_util_get_last_err());
    }
}

std::string member(json_object* object, const char* name) {
    json_object* const value = json_object_object_get(object, name);
    return value == nullptr ? std::string() : json_object_get_string(value);
}

Identity kept(const std::string& file) {
    const JsonPtr object(json_object_from_file(file.c_str()));
    return {member(object.get(), "oui"), member(object.get(), "serial"), member(object.get(), "productClass")};
}

}  // namespace

Identity identityFor(const std::string& action, const std::string& mac) {
    Identity identity = announced();
    const std::string file = fileOf(mac);
    if (file.empty()) {
        return identity;
    }
    if (isAny(identity)) {
        keep(file, identity);
    } else if (action != "add") {
        identity = kept(file);
    }
    if (action == "del" || !isAny(identity)) {
        unlink(file.c_str());
    }
    return identity;
}
