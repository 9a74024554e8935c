#include "values.h"

#include <json-c/json.h>

json_object* Values::member(const char* name) const {
    json_object* value = nullptr;
    return json_object_object_get_ex(object_, name, &value) ? value : nullptr;
}

std::string Values::text(const char* name) const {
    json_object* const value = member(name);
    return value == nullptr ? std::string() : json_object_get_string(value);
}

int Values::number(const char* name) const {
    return json_object_get_int(member(name));
}

std::optional<Values> Values::previous() const {
    json_object* const value = member("previous");
    return json_object_is_type(value, json_type_object) ? std::optional(Values(value)) : std::nullopt;
}

bool Values::agreesWith(const Values& other) const {
    json_object_object_foreach(other.object_, name, value) {
        if (!json_object_equal(member(name), value)) {
            return false;
        }
    }
    return true;
}
