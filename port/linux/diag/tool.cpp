#include "tool.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>

#include "start/arguments.h"

namespace {

using Clock = std::chrono::steady_clock;

constexpr size_t kMostText = 262144;

void place(int stream, int as, int flags) {
    const int from = stream >= 0 ? stream : open("/dev/null", flags | O_CLOEXEC);
    if (from < 0 || dup2(from, as) < 0) {
        _exit(126);
    }
}

[[noreturn]] void become(const Words& words, const Streams& streams, pid_t caller) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (getppid() != caller) {
        _exit(126);
    }
    signal(SIGPIPE, SIG_DFL);
    place(streams.in, STDIN_FILENO, O_RDONLY);
    place(streams.out, STDOUT_FILENO, O_WRONLY);
    place(streams.err, STDERR_FILENO, O_WRONLY);
    const std::vector<char*> arguments = argumentsOf(words);
    execvp(arguments[0], arguments.data());
    _exit(127);
}

// Reads until the end; false when that does not come in time or the text is too long.
bool readAll(int fd, Clock::time_point end, std::string& text) {
    char piece[4096];
    while (text.size() < kMostText) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - Clock::now()).count();
        pollfd waiting{fd, POLLIN, 0};
        if (left <= 0 || poll(&waiting, 1, static_cast<int>(std::min<long long>(left, 1000))) < 0) {
            return false;
        }
        if (waiting.revents == 0) {
            continue;
        }
        const ssize_t got = read(fd, piece, sizeof piece);
        if (got <= 0) {
            return got == 0;
        }
        text.append(piece, static_cast<size_t>(got));
    }
    return false;
}

}  // namespace

pid_t startTool(const Words& words, const Streams& streams) {
    const pid_t caller = getpid();
    const pid_t child = fork();
    if (child == 0) {
        become(words, streams, caller);
    }
    return child;
}

int statusOf(pid_t child) {
    int status = 0;
    while (waitpid(child, &status, 0) < 0) {
        if (errno != EINTR) {
            return -1;
        }
    }
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

Finished runTool(const Words& words, Seconds deadline) {
    int ends[2];
    Finished finished;
    if (pipe2(ends, O_CLOEXEC) != 0) {
        return finished;
    }
    const pid_t child = startTool(words, {-1, ends[1], ends[1]});
    close(ends[1]);
    if (child > 0) {
        const auto end = Clock::now() + std::chrono::duration_cast<Clock::duration>(deadline);
        finished.ended = readAll(ends[0], end, finished.text);
        if (!finished.ended) {
            kill(child, SIGKILL);
        }
        finished.status = statusOf(child);
    }
    close(ends[0]);
    return finished;
}

std::vector<std::string> linesOf(const std::string& text) {
    std::vector<std::string> lines;
    for (size_t from = 0; from < text.size();) {
        const size_t end = std::min(text.find('\n', from), text.size());
        lines.push_back(text.substr(from, end - from));
        from = end + 1;
    }
    return lines;
}

Words wordsOf(const std::string& line) {
    Words words;
    for (size_t from = line.find_first_not_of(" \t"); from != std::string::npos;
         from = line.find_first_not_of(" \t", from)) {
        const size_t end = std::min(line.find_first_of(" \t", from), line.size());
        words.push_back(line.substr(from, end - from));
        from = end;
    }
    return words;
}

std::string problemIn(const std::string& text) {
    constexpr struct {
        const char* complaint;
        const char* state;
    } kKnown[] = {{"Name or service not known", "Error_CannotResolveHostName"},
                  {"failure in name resolution", "Error_CannotResolveHostName"},
                  {"No address associated with hostname", "Error_CannotResolveHostName"},
                  {"Address family for hostname not supported", "Error_CannotResolveHostName"},
                  {"Network is unreachable", "Error_NoRouteToHost"},
                  {"No route to host", "Error_NoRouteToHost"}};
    for (const auto& [complaint, state] : kKnown) {
        if (text.find(complaint) != std::string::npos) {
            return state;
        }
    }
    return "Error_Internal";
}

Words familyOption(const std::string& version) {
    return version == "IPv4" ? Words{"-4"} : version == "IPv6" ? Words{"-6"} : Words{};
}
