#include "program.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <new>
#include <string>
#include <string_view>
#include <vector>

#include "client/descriptor.h"
#include "ring.h"
#include "secrets.h"

namespace vcfg::recorder {
namespace {

std::atomic<uint32_t> inherited{0};

std::string readFile(const std::string& path, size_t most) {
    std::string content(most, '\0');
    const int opened = aboveStandard(open(path.c_str(), O_RDONLY | O_CLOEXEC));
    const ssize_t size = opened >= 0 ? read(opened, content.data(), content.size()) : -1;
    if (opened >= 0) {
        close(opened);
    }
    content.resize(size > 0 ? static_cast<size_t>(size) : 0);
    return content;
}

std::string nameOf(pid_t process) {
    const std::string line = readFile("/proc/" + std::to_string(process) + "/comm", 32);
    return line.substr(0, line.find('\n'));
}

// One with characters that could end a word is quoted behind its '=', so that all of a secret is known to be one.
std::string quoted(const std::string& word) {
    if (!word.empty() && word.find_first_of(" \t\r\n\"',;&|}]\\") == word.npos) {
        return word;
    }
    const size_t name = word.find('=') + 1;  // 0 when there is none
    std::string result = word.substr(0, name) + '"';
    for (const char each : word.substr(name)) {
        result += each == '"' || each == '\\' ? std::string{'\\', each} : std::string{each};
    }
    return result + '"';
}

std::string commandLine() {
    const std::string words = readFile("/proc/self/cmdline", 1024);
    std::string line;
    for (size_t begin = 0; begin < words.size();) {
        const size_t end = std::min(words.find('\0', begin), words.size());
        const std::string word = words.substr(begin, end - begin);
        line += line.empty() ? word.substr(word.rfind('/') + 1) : " " + quoted(word);
        begin = end + 1;
    }
    return line;
}

}  // namespace

void takeEnvironment() {
    const char* given = getenv(kEnvironment);
    inherited.store(given != nullptr ? static_cast<uint32_t>(strtoul(given, nullptr, 10)) : 0);
}

// The process's own is left as it is, since other threads start programs meanwhile. Where memory is short, it has to
// do.
char* const* environmentOf(uint32_t event) {
    thread_local std::string variable;
    thread_local std::vector<char*> all;
    if (event == 0) {
        return environ;
    }
    try {
        const std::string name = std::string(kEnvironment) + "=";
        variable = name + std::to_string(event);
        all.assign(1, variable.data());
        for (char** each = environ; *each != nullptr; ++each) {
            if (!std::string_view(*each).starts_with(name)) {
                all.push_back(*each);
            }
        }
        all.push_back(nullptr);
    } catch (const std::bad_alloc&) {
        return environ;
    }
    return all.data();
}

// Where memory is short, the texts are missed and nothing else.
void describeProgram(Entry& entry) {
    const pid_t parent = getppid();
    const int error = errno;
    entry.cause = inherited.load();
    entry.numbers = {static_cast<uint32_t>(parent), static_cast<uint32_t>(getuid())};
    appendField(entry, "program");
    appendField(entry, program_invocation_short_name);
    try {
        appendField(entry, nameOf(parent));
        append(entry, masked(commandLine()));
    } catch (const std::bad_alloc&) {
        append(entry, "(memory is short)");
    }
    errno = error;
}

}  // namespace vcfg::recorder
