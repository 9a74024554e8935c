// A JSON object: a message's payload being read, or parameters being gathered for a write. Owns its json-c object.
// Where memory is short, that is logged and std::bad_alloc thrown, which ends the event.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

struct json_object;

class Json {
  public:
    // An empty object.
    static Json object();
    // A payload. Text that is missing, does not parse, is nested too deep or is no object gives a Json that is not
    // valid and has no keys.
    static Json parse(const char* text);
    // The same; `error` is the library's word for what does not parse, null for JSON of whatever kind.
    static Json parse(const char* text, const char*& error);

    Json(Json&& other) noexcept;
    Json& operator=(Json&& other) noexcept;
    Json(const Json&) = delete;
    Json& operator=(const Json&) = delete;
    ~Json();

    bool valid() const { return object_ != nullptr; }

    // Reading. Conversions are json-c's own: a number given as text reads as that number. A key that is missing, null,
    // or holds an object or array reads as missing. A text ends at an embedded NUL.
    bool has(const char* key) const;
    std::optional<std::string> text(const char* key) const;
    std::string textOr(const char* key, std::string_view missing) const;
    int32_t integer(const char* key, int32_t missing = 0) const;
    bool flag(const char* key) const;
    // Unsigned numbers: missing and negative read as 0, what is too large as the greatest value.
    uint32_t unsigned32(const char* key) const;
    uint64_t unsigned64(const char* key) const;
    // json-c's number of whatever is there, 0 for what does not convert; nothing when the key is missing or null.
    std::optional<int64_t> number(const char* key) const;
    bool isText(const char* key) const;

    // What lies below: the value of a key, or an element of the array that it holds; nothing when it is missing or
    // null. A value that is no object gives a Json that is not valid and has no keys. `length` is 0 for what is no
    // array.
    std::optional<Json> child(const char* key) const;
    size_t length(const char* key) const;
    std::optional<Json> element(const char* key, size_t index) const;

    // Gathering.
    void set(const char* key, std::string_view value);
    void set(const char* key, const char* value) { set(key, std::string_view(value)); }
    void set(const char* key, int32_t value);
    void set(const char* key, uint32_t value);
    void set(const char* key, bool value);
    void set(const char* key, const Json& value);
    // Copies a value of another object unchanged, whatever its type; false when it is missing or null. Nothing is
    // shared with the other object, which may belong to another thread.
    bool copy(const char* key, const Json& from, const char* fromKey);
    void remove(const char* key);
    void removeNulls();
    std::string toText() const;
    json_object* get() const { return object_; }  // for calls that take one; stays this Json's

  private:
    explicit Json(json_object* object) : object_(object) {}
    json_object* value(const char* key) const;
    json_object* scalar(const char* key) const;
    static std::optional<Json> part(json_object* value);

    json_object* object_;
};
