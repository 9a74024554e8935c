// The gateway's /bin/sh. The real shell does all the work; a command text that the daemon runs (`sh -c TEXT`, with tarn
// as the parent) is journaled: one JSON line with its time, text, exit status, duration and effect. Programs of the
// platform say what they changed by appending lines to the file that GW_EFFECT_FILE names.
#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "client/standard_streams.h"
#include "shell_call.h"

namespace {

constexpr const char* kJournal = "/var/log/gateway/journal.jsonl";

volatile sig_atomic_t gShell = 0;

int64_t monotonicUs() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return now.tv_sec * int64_t{1000000} + now.tv_nsec / 1000;
}

void appendQuoted(std::string& line, const std::string& text) {
    line += '"';
    for (const char character : text) {
        const auto byte = static_cast<unsigned char>(character);
        if (character == '"' || character == '\\') {
            line += '\\';
            line += character;
        } else if (byte < 0x20) {
            char escaped[8];
            snprintf(escaped, sizeof escaped, "\\u%04x", byte);
            line += escaped;
        } else {
            line += character;
        }
    }
    line += '"';
}

void passOn(int signal) {
    if (gShell > 0) {
        kill(static_cast<pid_t>(gShell), signal);
    }
}

int waitFor(pid_t child) {
    int status = 0;
    while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    return status;
}

void journal(const char* command, int64_t begin, int status, const char* effectFile) {
    constexpr size_t kLongestEffect = 16384;
    std::string effect = firstBytes(effectFile, kLongestEffect);
    while (!effect.empty() && effect.back() == '\n') {
        effect.pop_back();
    }
    unlink(effectFile);
    std::string line = "{\"t_mono_us\":" + std::to_string(begin) + ",\"command\":";
    appendQuoted(line, command);
    line += ",\"status\":" + std::to_string(exitStatus(status)) + ",\"effect\":";
    appendQuoted(line, effect);
    line += ",\"duration_ms\":" + std::to_string((monotonicUs() - begin) / 1000) + "}\n";
    const int file = open(kJournal, O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0644);
    if (file < 0 || write(file, line.data(), line.size()) != static_cast<ssize_t>(line.size())) {
        fprintf(stderr, "sh: cannot write %s: %s\n", kJournal, strerror(errno));
    }
}

int runJournaled(const char* command, char** words) {
    char effectFile[64];
    snprintf(effectFile, sizeof effectFile, "/run/gateway/effect.%d", getpid());
    setenv("GW_EFFECT_FILE", effectFile, 1);
    const int64_t begin = monotonicUs();
    const pid_t child = fork();
    if (child <= 0) {  // without another process the command runs all the same, unseen
        becomeShell(words);
    }
    gShell = child;
    for (const int each : {SIGTERM, SIGINT, SIGHUP, SIGQUIT}) {
        signal(each, passOn);
    }
    const int status = waitFor(child);
    journal(command, begin, status, effectFile);
    return endAs(status);
}

}  // namespace

int main(int count, char** words) {
    vcfg::holdStandardStreams();
    const char* const command = commandText(count, words);
    if (command == nullptr || !daemonAsks()) {
        becomeShell(words);
    }
    return runJournaled(command, words);
}
