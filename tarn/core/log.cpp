#include "core/log.h"

#include <cstdarg>
#include <cstdio>
#include <string>

#include "core/os.h"

namespace logs {
namespace {

std::string formatted(const char* format, va_list arguments) {
    va_list again;
    va_copy(again, arguments);
    const int length = vsnprintf(nullptr, 0, format, again);
    va_end(again);
    if (length <= 0) {
        return {};
    }
    std::string text(static_cast<size_t>(length) + 1, '\0');
    vsnprintf(text.data(), text.size(), format, arguments);
    text.pop_back();
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
