#include "facts.h"

#include <algorithm>
#include <numeric>

uint32_t loggedType(uint32_t type) {
    constexpr uint32_t kTypeNumber = 0xFFFFFF;
    return type & kTypeNumber;
}

std::vector<std::string> descriptorsOf(const Daemon& daemon) {
    std::vector<std::string> all;
    for (const auto& file : std::filesystem::directory_iterator("/proc/" + std::to_string(daemon.pid()) + "/fd")) {
        std::error_code gone;
        all.push_back(std::filesystem::read_symlink(file, gone).string());
    }
    return all;
}

// Slow ones have a second line.
std::map<uint32_t, size_t> begunBy(const Daemon& daemon) {
    constexpr std::string_view kBegin = "process msg type = ";
    std::map<uint32_t, size_t> begun;
    for (const std::string& line : daemon.log()) {
        const size_t at = line.find(kBegin);
        if (at != std::string::npos && !line.ends_with(" ms")) {
            ++begun[static_cast<uint32_t>(std::stoul(line.substr(at + kBegin.size())))];
        }
    }
    return begun;
}

std::string lastWords(const Daemon& daemon) {
    const auto lines = daemon.log();
    const auto report = std::find_if(lines.begin(), lines.end(), [](const std::string& line) {
        return line.find("Sanitizer") != std::string::npos;
    });
    const auto begin = report != lines.end() ? report : lines.end() - std::min<ptrdiff_t>(20, std::ssize(lines));
    return std::accumulate(begin, lines.end(), std::string("the daemon has ended:\n"),
                           [](std::string text, const std::string& line) { return std::move(text) + line + "\n"; });
}
