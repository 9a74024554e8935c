#include "payload.h"

#include <iconv.h>
#include <json-c/json.h>

#include <cerrno>
#include <charconv>

namespace {

class Utf8 {
  public:
    Utf8() : handle_(iconv_open("UTF-8", "UTF-8")) {}
    ~Utf8() { iconv_close(handle_); }
    Utf8(const Utf8&) = delete;
    Utf8& operator=(const Utf8&) = delete;

    // Appends what can be read to `text`; returns whether a byte stopped it.
    bool read(char*& from, size_t& left, std::string& text) {
        char buffer[256];
        char* to = buffer;
        size_t room = sizeof buffer;
        const bool failed = iconv(handle_, &from, &left, &to, &room) == static_cast<size_t>(-1);
        text.append(buffer, to);
        return failed && errno != E2BIG;
    }

  private:
    iconv_t handle_;
};

// The network sends any bytes, JSON is UTF-8: what is none becomes U+FFFD.
std::string readable(std::string bytes) {
    Utf8 utf8;
    std::string text;
    char* from = bytes.data();
    size_t left = bytes.size();
    while (left != 0) {
        if (utf8.read(from, left, text)) {
            text += "\xEF\xBF\xBD";
            ++from;
            --left;
        }
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
