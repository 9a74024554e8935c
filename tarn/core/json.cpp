#include "core/json.h"

#include <json-c/json.h>

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstring>
#include <new>
#include <numeric>
#include <utility>

#include "core/log.h"

namespace {

[[noreturn]] void outOfMemory(size_t size) {
    VLOG_OUT_OF_MEMORY(size, "insuffcient");
    throw std::bad_alloc();
}

// What json-c made for `size` bytes of value: null when memory is short.
template <class Made>
Made* made(Made* what, size_t size) {
    return what != nullptr ? what : (outOfMemory(size), nullptr);
}

// Takes over `value`.
void put(json_object* object, const char* key, json_object* value) {
    if (json_object_object_add(object, key, value) != 0) {
        json_object_put(value);
        outOfMemory(strlen(key) + 1);
    }
}

size_t lengthOf(std::string_view text) {
    const auto escaped = [](size_t length, char character) {
        constexpr std::string_view kWithBackslash = "\b\n\r\t\f\"\\/";
        const bool isControl = static_cast<unsigned char>(character) < ' ';
        return length + (kWithBackslash.find(character) != std::string_view::npos ? 2 : isControl ? 6 : 1);
    };
    return std::accumulate(text.begin(), text.end(), size_t{2}, escaped);
}

// How long json-c's text of a value is when it is whole.
size_t lengthOf(json_object* value) {
    const json_type type = json_object_get_type(value);
    size_t length = 1;  // of the opening bracket; each part has a comma or the closing one behind it
    if (type == json_type_object) {
        json_object_object_foreach(value, key, part) {
            length += lengthOf(std::string_view(key)) + 1 + lengthOf(part) + 1;
        }
    } else if (type == json_type_array) {
        for (size_t at = 0; at < json_object_array_length(value); ++at) {
            length += lengthOf(json_object_array_get_idx(value, at)) + 1;
        }
    } else if (type == json_type_string) {
        return lengthOf({json_object_get_string(value), static_cast<size_t>(json_object_get_string_len(value))});
    } else {
        return strlen(made(json_object_to_json_string_ext(value, JSON_C_TO_STRING_PLAIN), 1));
    }
    return std::max(length, size_t{2});
}

}  // namespace

Json Json::object() {
    return Json(made(json_object_new_object(), 1));
}

Json Json::parse(const char* text) {
    const char* error = nullptr;
    return parse(text, error);
}

Json Json::parse(const char* text, const char*& error) {
    json_tokener_error code = json_tokener_continue;  // a whole text has another outcome, unless there is no parser
    json_object* parsed = json_tokener_parse_verbose(text != nullptr ? text : "", &code);
    if (code == json_tokener_continue) {
        outOfMemory(strlen(text != nullptr ? text : "") + 1);
    }
    error = code != json_tokener_success ? json_tokener_error_desc(code) : nullptr;
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
    return std::string(made(json_object_get_string(value), 1));
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

uint32_t Json::unsigned32(const char* key) const {
    return static_cast<uint32_t>(std::min<uint64_t>(unsigned64(key), UINT32_MAX));
}

uint64_t Json::unsigned64(const char* key) const {
    json_object* const value = scalar(key);
    const bool noNumber =
        json_object_is_type(value, json_type_double) != 0 && std::isnan(json_object_get_double(value));
    return value != nullptr && !noNumber ? json_object_get_uint64(value) : 0;
}

std::optional<Json> Json::part(json_object* value) {
    if (value == nullptr) {
        return std::nullopt;
    }
    return Json(json_object_is_type(value, json_type_object) != 0 ? json_object_get(value) : nullptr);
}

std::optional<Json> Json::child(const char* key) const {
    return part(value(key));
}

size_t Json::length(const char* key) const {
    json_object* const array = value(key);
    return json_object_is_type(array, json_type_array) != 0 ? json_object_array_length(array) : 0;
}

std::optional<Json> Json::element(const char* key, size_t index) const {
    return part(index < length(key) ? json_object_array_get_idx(value(key), index) : nullptr);
}

std::optional<int64_t> Json::number(const char* key) const {
    json_object* const found = value(key);
    return found != nullptr ? std::optional(json_object_get_int64(found)) : std::nullopt;
}

bool Json::isText(const char* key) const {
    return json_object_is_type(value(key), json_type_string) != 0;
}

void Json::set(const char* key, std::string_view value) {
    const int length = value.size() < INT_MAX ? static_cast<int>(value.size()) : INT_MAX;
    put(object_, key, made(json_object_new_string_len(value.data(), length), value.size() + 1));
}

void Json::set(const char* key, int32_t value) {
    put(object_, key, made(json_object_new_int(value), sizeof value));
}

void Json::set(const char* key, uint32_t value) {
    put(object_, key, made(json_object_new_int64(value), sizeof value));
}

void Json::set(const char* key, bool value) {
    put(object_, key, made(json_object_new_boolean(value ? 1 : 0), sizeof value));
}

void Json::set(const char* key, const Json& value) {
    put(object_, key, json_object_get(value.object_));
}

bool Json::copy(const char* key, const Json& from, const char* fromKey) {
    json_object* const found = from.value(fromKey);
    if (found == nullptr) {
        return false;
    }
    json_object* own = nullptr;
    if (json_object_deep_copy(found, &own, nullptr) != 0) {
        outOfMemory(1);
    }
    put(object_, key, own);
    return true;
}

void Json::remove(const char* key) {
    json_object_object_del(object_, key);
}

void Json::removeNulls() {
    json_object_object_foreach(object_, key, value) {
        if (value == nullptr) {
            json_object_object_del(object_, key);
        }
    }
}

// json-c leaves out of a text what finds no memory.
std::string Json::toText() const {
    if (object_ == nullptr) {
        return "";
    }
    const std::string_view text = made(json_object_to_json_string_ext(object_, JSON_C_TO_STRING_PLAIN), 1);
    if (const size_t whole = lengthOf(object_); text.size() != whole) {
        outOfMemory(whole);
    }
    return std::string(text);
}
