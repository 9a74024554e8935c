// What an apply hook reads on its standard input, and asks of it.
#include <json-c/json.h>

#include <cstdint>
#include <memory>

#include "target.h"
#include "values.h"

namespace {

struct PutJson {
    void operator()(json_object* object) const { json_object_put(object); }
};

const char* const kNames[] = {"Enable",         "IPAddress",  "Interface", "LowerLayers",
                              "X_VORAN_IfName", "MaxMTUSize", "previous"};

size_t readAll(const Values& values) {
    size_t total = 0;
    for (const char* const name : kNames) {
        total += values.text(name).size() + static_cast<unsigned>(values.number(name)) + (values.flag(name) ? 1 : 0);
    }
    return total;
}

}  // namespace

void handleInput(std::string_view bytes) {
    const std::unique_ptr<json_object, PutJson> record(json_tokener_parse(std::string(bytes).c_str()));
    if (!json_object_is_type(record.get(), json_type_object)) {
        return;
    }
    const Values now(record.get());
    size_t total = readAll(now);
    if (const auto before = now.previous()) {
        total += readAll(*before) + (now.agreesWith(*before) ? 1 : 0);
    }
    if (total > size_t{16} * (bytes.size() + INT32_MAX)) {
        finding("the values are longer than what they came in");
    }
}
