// The daemon's payloads: JSON objects, put together value by value, so that no text can be more than a text.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

struct json_object;

class Payload {
  public:
    Payload();

    void text(const char* key, const std::string& value);
    void textIfAny(const char* key, const std::string& value);
    void integer(const char* key, int value);
    void count(const char* key, uint64_t value);
    // A text that is a number; anything else is left out.
    void number(const char* key, const std::string& text);
    void flag(const char* key, bool value);
    void part(const char* key, const Payload& value);
    void list(const char* key, const std::vector<Payload>& values);

    std::string str() const;

  private:
    struct Put {
        void operator()(json_object* object) const;
    };
    std::unique_ptr<json_object, Put> object_;
};
