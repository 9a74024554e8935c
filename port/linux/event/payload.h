// The daemon's payloads: JSON objects, put together value by value, so that no text can be more than a text.
#pragma once

#include <memory>
#include <string>

struct json_object;

class Payload {
  public:
    Payload();

    void text(const char* key, const std::string& value);
    void textIfAny(const char* key, const std::string& value);
    void integer(const char* key, int value);
    // A text that is a number; anything else is left out.
    void number(const char* key, const std::string& text);
    void flag(const char* key, bool value);

    std::string str() const;

  private:
    struct Put {
        void operator()(json_object* object) const;
    };
    std::unique_ptr<json_object, Put> object_;
};
