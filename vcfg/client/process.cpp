#include "process.h"

#include <fcntl.h>
#include <limits.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <ctime>

#include "deadline.h"
#include "descriptor.h"

namespace vcfg {
namespace {

constexpr int kStartField = 22;
constexpr int kStateField = 3;

std::string fileOf(pid_t process, const char* name) {
    return "/proc/" + std::to_string(process) + "/" + name;
}

std::string read(const std::string& path) {
    std::array<char, 1024> content;
    const int file = aboveStandard(open(path.c_str(), O_RDONLY | O_CLOEXEC));
    const ssize_t size = file >= 0 ? ::read(file, content.data(), content.size()) : -1;
    if (file >= 0) {
        close(file);
    }
    return std::string(content.data(), size > 0 ? static_cast<size_t>(size) : 0);
}

// Of the fields in "stat", from the one behind the name on, which may hold anything.
std::string fieldOf(pid_t process, int field) {
    const std::string all = read(fileOf(process, "stat"));
    size_t at = all.rfind(')');
    for (int each = kStateField; at != all.npos && each < field; ++each) {
        at = all.find(' ', at + (each == kStateField ? 2 : 1));
    }
    if (at == all.npos || at + 1 >= all.size()) {
        return "";
    }
    const size_t begin = all.find_first_not_of(") ", at);
    return begin == all.npos ? "" : all.substr(begin, all.find(' ', begin) - begin);
}

// "/usr/sbin/vcmd (deleted)", when it was replaced meanwhile, is vcmd too.
std::string executableOf(pid_t process) {
    std::array<char, PATH_MAX> target;
    const ssize_t size = readlink(fileOf(process, "exe").c_str(), target.data(), target.size());
    std::string name(target.data(), size > 0 ? static_cast<size_t>(size) : 0);
    name.erase(0, name.rfind('/') + 1);
    return name.substr(0, name.rfind(" (deleted)"));
}

}  // namespace

std::string programOf(pid_t process) {
    const std::string executable = executableOf(process);
    const std::string called = executable.empty() ? read(fileOf(process, "comm")) : executable;
    return called.substr(0, called.find('\n'));
}

char stateLetterOf(pid_t process) {
    const std::string state = fieldOf(process, kStateField);
    return state.empty() ? '\0' : state.front();
}

// The system counts from the boot, the time in which it slept included.
int64_t startOf(pid_t process) {
    const std::string ticks = fieldOf(process, kStartField);
    const long perSecond = sysconf(_SC_CLK_TCK);
    timespec boot{};
    if (ticks.empty() || perSecond <= 0 || clock_gettime(CLOCK_BOOTTIME, &boot) != 0) {
        return 0;
    }
    const int64_t startUs = strtoll(ticks.c_str(), nullptr, 10) * (1000000 / perSecond);
    const int64_t bootUs = int64_t{boot.tv_sec} * 1000000 + boot.tv_nsec / 1000;
    return monotonicUs() - (bootUs - startUs);
}

}  // namespace vcfg
