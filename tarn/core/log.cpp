#include "core/log.h"

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>

#include "core/os.h"

namespace logs {
namespace {

// The arguments put into the format; nothing when memory is short.
std::string formatted(const char* format, va_list arguments) {
    char* text = nullptr;
    if (vasprintf(&text, format, arguments) < 0) {
        return {};
    }
    const std::unique_ptr<char, void (*)(void*)> owned(text, free);
    return text;
}

}  // namespace

void system(int priority, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    const std::string text = formatted(format, arguments);
    va_end(arguments);
    os::systemLog(priority, text);
}

void print(const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    std::string text = formatted(format, arguments);
    va_end(arguments);
    if (text.empty() || text.back() != '\n') {
        text.push_back('\n');
    }
    os::standardOutput(text);
}

}  // namespace logs
