#include "core/shell.h"

#include <vcfg/os.h>

#include "core/log.h"
#include "core/os.h"
#include "core/stoppable.h"

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

namespace {

constexpr uint32_t kSlowMs = 2000;

// A command that hangs holds up its caller: its name and duration have to be found in the log.
void noteDuration(const std::string& command, uint32_t start) {
    const uint32_t took = vos_mtime_get() - start;
    if (took >= kSlowMs) {
        VLOG(VLOG_WARNING, "command \"%s\" took %u ms", command.c_str(), took);
    }
}

}  // namespace

int run(const std::string& command) {
    const uint32_t start = vos_mtime_get();
    const int result = os::runCommand(command);
    noteDuration(command, start);
    return result;
}

std::optional<int> run(os::Stoppable& thread, const std::string& command) {
    return thread.run(command);
}

std::optional<std::string> shellFirstLine(const std::string& command, size_t limit) {
    const uint32_t start = vos_mtime_get();
    auto line = os::firstLineOf(command, limit);
    noteDuration(command, start);
    return line;
}
