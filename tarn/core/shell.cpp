#include "core/shell.h"

#include "core/os.h"

namespace shell_detail {
namespace {

bool isPlain(char character) {
    return (character >= 'A' && character <= 'Z') || (character >= 'a' && character <= 'z') ||
           (character >= '0' && character <= '9') ||
           std::string_view("_.:/%+=@,-").find(character) != std::string_view::npos;
}

}  // namespace

std::string word(std::string_view value) {
    bool plain = !value.empty();
    for (const char character : value) {
        plain = plain && isPlain(character);
    }
    if (plain) {
        return std::string(value);
    }
    std::string quoted = "'";
    for (const char character : value) {
        if (character == '\'') {
            quoted += "'\\''";
        } else if (character != '\0') {
            quoted += character;
        }
    }
    return quoted + "'";
}

std::string fill(std::string_view format, const std::string* words, size_t count) {
    std::string text;
    size_t used = 0;
    for (size_t i = 0; i < format.size(); ++i) {
        const bool place = format[i] == '%' && i + 1 < format.size() && (format[i + 1] == 's' || format[i + 1] == 'd');
        if (place && used < count) {
            text += words[used++];
            ++i;
        } else {
            text += format[i];
        }
    }
    return text;
}

}  // namespace shell_detail

int run(const std::string& command) {
    return os::runCommand(command);
}

std::optional<std::string> shellFirstLine(const std::string& command, size_t limit) {
    return os::firstLineOf(command, limit);
}
