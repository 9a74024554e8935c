#include "payload.h"

#include <json-c/json.h>
#include <vcfg/model/utf8.h>

#include <algorithm>
#include <charconv>

namespace {

// The network sends any bytes, JSON is UTF-8: what is none becomes U+FFFD.
std::string readable(std::string_view bytes) {
    std::string text;
    while (!bytes.empty()) {
        const size_t length = vcfg::utf8Length(bytes);
        text += length == 0 ? "\xEF\xBF\xBD" : bytes.substr(0, length);
        bytes.remove_prefix(std::max<size_t>(length, 1));
    }
    return text;
}

}  // namespace

void Payload::Put::operator()(json_object* object) const {
    json_object_put(object);
}

Payload::Payload() : object_(json_object_new_object()) {}

void Payload::text(const char* key, const std::string& value) {
    const std::string shown = readable(value);
    json_object_object_add(object_.get(), key,
                           json_object_new_string_len(shown.data(), static_cast<int>(shown.size())));
}

void Payload::textIfAny(const char* key, const std::string& value) {
    if (!value.empty()) {
        text(key, value);
    }
}

void Payload::integer(const char* key, int value) {
    json_object_object_add(object_.get(), key, json_object_new_int(value));
}

void Payload::count(const char* key, uint64_t value) {
    json_object_object_add(object_.get(), key, json_object_new_uint64(value));
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

void Payload::part(const char* key, const Payload& value) {
    json_object_object_add(object_.get(), key, json_object_get(value.object_.get()));
}

void Payload::list(const char* key, const std::vector<Payload>& values) {
    json_object* const array = json_object_new_array();
    for (const Payload& value : values) {
        json_object_array_add(array, json_object_get(value.object_.get()));
    }
    json_object_object_add(object_.get(), key, array);
}

std::string Payload::str() const {
    return json_object_to_json_string_ext(object_.get(), JSON_C_TO_STRING_PLAIN | JSON_C_TO_STRING_NOSLASHESCAPE);
}
