#include "core/json.h"

#include <json-c/json.h>

#include <climits>
#include <utility>

Json Json::object() {
    return Json(json_object_new_object());
}

Json Json::parse(const char* text) {
    json_object* parsed = text != nullptr ? json_tokener_parse(text) : nullptr;
    if (parsed != nullptr && json_object_get_type(parsed) != json_type_object) {
        json_object_put(parsed);
        parsed = nullptr;
    }
    return Json(parsed);
}

Json::Json(Json&& other) noexcept : object_(std::exchange(other.object_, nullptr)) {}

Json& Json::operator=(Json&& other) noexcept {
    std::swap(object_, other.object_);
    return *this;
}

Json::~Json() {
    json_object_put(object_);
}

json_object* Json::value(const char* key) const {
    return object_ != nullptr ? json_object_object_get(object_, key) : nullptr;
}

json_object* Json::scalar(const char* key) const {
    json_object* const found = value(key);
    const json_type type = json_object_get_type(found);
    return type == json_type_object || type == json_type_array ? nullptr : found;
}

bool Json::has(const char* key) const {
    return scalar(key) != nullptr;
}

std::optional<std::string> Json::text(const char* key) const {
    json_object* const value = scalar(key);
    if (value == nullptr) {
        return std::nullopt;
    }
    return std::string(json_object_get_string(value));
}

std::string Json::textOr(const char* key, std::string_view missing) const {
    return text(key).value_or(std::string(missing));
}

int32_t Json::integer(const char* key, int32_t missing) const {
    json_object* const value = scalar(key);
    return value != nullptr ? json_object_get_int(value) : missing;
}

bool Json::flag(const char* key) const {
    json_object* const value = scalar(key);
    return value != nullptr && json_object_get_boolean(value) != 0;
}

std::optional<int64_t> Json::number(const char* key) const {
    json_object* const found = value(key);
    return found != nullptr ? std::optional(json_object_get_int64(found)) : std::nullopt;
}

bool Json::isText(const char* key) const {
    return json_object_is_type(value(key), json_type_string) != 0;
}

std::optional<Json> Json::child(const char* key) const {
    json_object* const found = value(key);
    if (found == nullptr) {
        return std::nullopt;
    }
    return Json(json_object_is_type(found, json_type_object) != 0 ? json_object_get(found) : nullptr);
}

void Json::set(const char* key, std::string_view value) {
    const int length = value.size() < INT_MAX ? static_cast<int>(value.size()) : INT_MAX;
    json_object_object_add(object_, key, json_object_new_string_len(value.data(), length));
}

void Json::set(const char* key, int32_t value) {
    json_object_object_add(object_, key, json_object_new_int(value));
}

void Json::set(const char* key, uint32_t value) {
    json_object_object_add(object_, key, json_object_new_int64(value));
}

void Json::set(const char* key, bool value) {
    json_object_object_add(object_, key, json_object_new_boolean(value ? 1 : 0));
}

void Json::set(const char* key, const Json& value) {
    json_object_object_add(object_, key, json_object_get(value.object_));
}

bool Json::copy(const char* key, const Json& from, const char* fromKey) {
    json_object* value = nullptr;
    if (from.object_ == nullptr || !json_object_object_get_ex(from.object_, fromKey, &value) || value == nullptr) {
        return false;
    }
    json_object_object_add(object_, key, json_object_get(value));
    return true;
}

std::string Json::toText() const {
    return object_ != nullptr ? json_object_to_json_string_ext(object_, JSON_C_TO_STRING_PLAIN) : "";
}
