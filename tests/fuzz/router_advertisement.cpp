// A router advertisement off the network, and the payload that it becomes.
#include "advertisement.h"

#include <json-c/json.h>

#include "target.h"

void handleInput(std::string_view bytes) {
    const auto read = readAdvertisement(reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size(), "fe80::1");
    if (!read) {
        return;
    }
    json_object* const payload = json_tokener_parse(advertisementPayload(*read, "eth0").c_str());
    if (payload == nullptr) {
        finding("the payload is no JSON");
    }
    json_object_put(payload);
}
