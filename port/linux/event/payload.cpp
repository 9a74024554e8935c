#include "payload.h"

#include <json-c/json.h>

#include <charconv>
#include <cstdint>

void Payload::Put::operator()(json_object* object) const {
    json_object_put(object);
}

Payload::Payload() : object_(json_object_new_object()) {}

void Payload::text(const char* key, const std::string& value) {
    json_object_object_add(object_.get(), key,
                           json_object_new_string_len(value.data(), static_cast<int>(value.size())));
}

void Payload::textIfAny(const char* key, const std::string& value) {
    if (!value.empty()) {
        text(key, value);
    }
}

void Payload::integer(const char* key, int value) {
    json_object_object_add(object_.get(), key, json_object_new_int(value));
}

void Payload::number(const char* key, const std::string& text) {
    int64_t value = 0;
    const auto [end, problem] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (!text.empty() && problem == std::errc() && end == text.data() + text.size()) {
        json_object_object_add(object_.get(), key, json_object_new_int64(value));
    }
}

void Payload::flag(const char* key, bool value) {
    json_object_object_add(object_.get(), key, json_object_new_boolean(value));
}

std::string Payload::str() const {
    return json_object_to_json_string_ext(object_.get(), JSON_C_TO_STRING_PLAIN | JSON_C_TO_STRING_NOSLASHESCAPE);
}
