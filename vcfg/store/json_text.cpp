#include "json_text.h"

#include <cstdint>
#include <cstdio>
#include <new>
#include <string_view>
#include <utility>

namespace vcfg::store {
namespace {

constexpr const char* kShort[] = {"\b\\b", "\n\\n", "\r\\r", "\t\\t", "\f\\f", "\"\\\"", "\\\\\\"};

class Printer {
  public:
    explicit Printer(int flags) : flags_(flags) {}

    void put(json_object* value, size_t depth) {
        switch (json_object_get_type(value)) {
            case json_type_object:
                return putObject(value, depth);
            case json_type_array:
                return putArray(value, depth);
            case json_type_string:
                return putText({json_object_get_string(value), static_cast<size_t>(json_object_get_string_len(value))});
            default:
                return putScalar(value);
        }
    }

    std::string text;

  private:
    bool isPretty() const { return (flags_ & JSON_C_TO_STRING_PRETTY) != 0; }

    void beginLine(size_t depth) {
        if (isPretty()) {
            text += '\n';
            text.append(2 * depth, ' ');
        }
    }

    void putObject(json_object* object, size_t depth) {
        text += '{';
        const char* comma = "";
        json_object_object_foreach(object, name, value) {
            text += comma;
            comma = ",";
            beginLine(depth + 1);
            putText(name);
            text += ':';
            put(value, depth + 1);
        }
        if (*comma != '\0') {
            beginLine(depth);
        }
        text += '}';
    }

    void putArray(json_object* array, size_t depth) {
        text += '[';
        const size_t length = json_object_array_length(array);
        for (size_t each = 0; each < length; ++each) {
            text += each > 0 ? "," : "";
            beginLine(depth + 1);
            put(json_object_array_get_idx(array, each), depth + 1);
        }
        if (length > 0) {
            beginLine(depth);
        }
        text += ']';
    }

    void putText(std::string_view value) {
        text += '"';
        for (const char character : value) {
            putCharacter(character);
        }
        text += '"';
    }

    void putCharacter(char character) {
        for (const char* one : kShort) {
            if (*one == character) {
                text += one + 1;
                return;
            }
        }
        if (character == '/' && (flags_ & JSON_C_TO_STRING_NOSLASHESCAPE) == 0) {
            text += "\\/";
        } else if (static_cast<uint8_t>(character) < 0x20) {
            char escaped[8];
            snprintf(escaped, sizeof escaped, "\\u%04x", static_cast<unsigned>(character));
            text += escaped;
        } else {
            text += character;
        }
    }

    // A number is shorter than what json-c takes for a text at first.
    void putScalar(json_object* value) {
        const char* const printed = json_object_to_json_string_ext(value, JSON_C_TO_STRING_PLAIN);
        text += printed != nullptr ? printed : throw std::bad_alloc();
    }

    int flags_;
};

}  // namespace

std::string textOf(json_object* json, int flags) {
    Printer printer(flags);
    printer.put(json, 0);
    return std::move(printer.text);
}

}  // namespace vcfg::store
