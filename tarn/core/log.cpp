#include "core/log.h"

#include <vcfg/recorder.h>

#include <algorithm>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>
#include <string>

#include "core/os.h"

namespace logs {
namespace {

constexpr size_t kFrameworkLine = 2000;  // longer ones are cut by the framework

// Bytes of the control character that the text begins with: one, two for those that only UTF-8 has, 0 for any other.
size_t controlLength(std::string_view text) {
    const auto first = static_cast<uint8_t>(text[0]);
    if (first < 0x20 || first == 0x7F) {
        return 1;
    }
    return first == 0xC2 && text.size() > 1 && static_cast<uint8_t>(text[1]) < 0xA0 ? 2 : 0;
}

std::string_view escape(char control, char (&buffer)[5]) {
    switch (control) {
        case '\n':
            return "\\n";
        case '\r':
            return "\\r";
        case '\t':
            return "\\t";
        default:
            snprintf(buffer, sizeof buffer, "\\x%02x", static_cast<uint8_t>(control));
            return buffer;
    }
}

// Hands the text to `put`, piece by piece, with its control characters shown.
template <class Put>
void show(std::string_view text, const Put& put) {
    const bool ended = !text.empty() && text.back() == '\n';
    std::string_view left = text.substr(0, text.size() - (ended ? 1 : 0));
    char buffer[5];
    while (!left.empty()) {
        const size_t control = controlLength(left);
        for (const char byte : left.substr(0, control)) {
            put(escape(byte, buffer));
        }
        if (control == 0) {
            put(left.substr(0, 1));
        }
        left.remove_prefix(control == 0 ? 1 : control);
    }
    if (ended) {
        put("\n");
    }
}

// The arguments put into the format, as a line shows them.
std::string formatted(const char* format, va_list arguments) {
    char* text = nullptr;
    if (vasprintf(&text, format, arguments) < 0) {
        throw std::bad_alloc();
    }
    const std::unique_ptr<char, void (*)(void*)> owned(text, free);
    std::string shown;
    show(text, [&shown](std::string_view piece) { shown += piece; });
    return shown;
}

// A line that finds no memory is lost; what it tells of goes on.
template <class Tell>
void tellOrLose(const char* format, va_list arguments, const Tell& tell) {
    try {
        tell(formatted(format, arguments));
    } catch (const std::bad_alloc&) {
        VLOG_OUT_OF_MEMORY(strlen(format) + 1, "insuffcient");
    }
}

}  // namespace

// Allocates nothing: its lines tell that memory is short.
void framework(int level, const char* source, int line, const char* function, const char* format, ...) {
    char text[kFrameworkLine + 1];
    va_list arguments;
    va_start(arguments, format);
    vsnprintf(text, sizeof text, format, arguments);  // NOLINT(clang-analyzer-valist.Uninitialized)
    va_end(arguments);
    char shown[kFrameworkLine + 1];
    size_t size = 0;
    show(text, [&](std::string_view piece) {
        const size_t fitting = std::min(piece.size(), kFrameworkLine - size);
        memcpy(shown + size, piece.data(), fitting);
        size += fitting;
    });
    shown[size] = '\0';
    vlog_log_f(level, source, line, function, "%s", shown);
}

void system(int priority, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    tellOrLose(format, arguments, [priority](const std::string& text) {
        vcfgEventSaid("syslog", priority, text.data(), text.size());
        os::systemLog(priority, text);
    });
    va_end(arguments);
}

void print(const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    tellOrLose(format, arguments, [](std::string text) {
        if (text.empty() || text.back() != '\n') {
            text.push_back('\n');
        }
        vcfgEventSaid("stdout", LOG_INFO, text.data(), text.size());
        os::standardOutput(text);
    });
    va_end(arguments);
}

}  // namespace logs
