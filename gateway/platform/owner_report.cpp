#include "owner_report.h"

#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

namespace owner_report {
namespace {

constexpr const char* daemonEndpoint = "2";

bool run(std::vector<std::string> words) {
    std::vector<char*> arguments;
    arguments.reserve(words.size() + 1);
    for (auto& word : words) {
        arguments.push_back(word.data());
    }
    arguments.push_back(nullptr);
    pid_t child = 0;
    const int error = posix_spawnp(&child, arguments[0], nullptr, nullptr, arguments.data(), environ);
    if (error != 0) {
        std::fprintf(stderr, "cannot run %s: %s\n", arguments[0], std::strerror(error));
        return false;
    }
    int status = 0;
    while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    return status == 0;
}

}  // namespace

bool write(const std::vector<std::string>& parameters) {
    std::vector<std::string> words{"vcfgctl", "set", "--no-apply"};
    words.insert(words.end(), parameters.begin(), parameters.end());
    return run(std::move(words));
}

std::vector<std::string> read(const std::string& paths) {
    std::vector<std::string> parameters;
    FILE* const answer = popen(("vcfgctl get " + paths).c_str(), "re");
    if (answer == nullptr) {
        return parameters;
    }
    char line[1024];
    while (std::fgets(line, sizeof line, answer) != nullptr) {
        line[std::strcspn(line, "\n")] = '\0';
        parameters.emplace_back(line);
    }
    pclose(answer);
    return parameters;
}

bool tell(const std::string& type, const std::string& payload) {
    std::vector<std::string> words{"vcfgctl", "send", "--to", daemonEndpoint, "--type", type};
    if (!payload.empty()) {
        words.emplace_back("--payload");
        words.push_back(payload);
    }
    return run(std::move(words));
}

}  // namespace owner_report
