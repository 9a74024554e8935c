// vcfg-mail: sends the mail that a JSON request on standard input describes. Exit status 0 when the server has accepted
// it; 1, with one line on standard error, in every other case.
#include <sys/random.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <string>

#include "client/standard_streams.h"
#include "message.h"
#include "request.h"
#include "transport.h"

namespace {

constexpr size_t longestRequest = size_t{512} * 1024;

// False when it is longer than any request, or cannot be read.
bool readRequest(std::string& text) {
    char part[4096];
    for (;;) {
        const ssize_t got = read(STDIN_FILENO, part, sizeof part);
        if (got == 0) {
            return true;
        }
        if (got < 0 && errno != EINTR) {
            return false;
        }
        if (got > 0) {
            text.append(part, static_cast<size_t>(got));
        }
        if (text.size() > longestRequest) {
            return false;
        }
    }
}

std::string newIdentity(time_t date) {
    uint64_t chance = 0;
    if (getrandom(&chance, sizeof chance, 0) != static_cast<ssize_t>(sizeof chance)) {
        chance = static_cast<uint64_t>(getpid());
    }
    char text[64];
    snprintf(text, sizeof text, "%" PRId64 ".%016" PRIx64, static_cast<int64_t>(date), chance);
    return text;
}

mail::Limits limitsOfEnvironment() {
    mail::Limits limits;
    const char* caFile = getenv("VCFG_MAIL_CA_FILE");
    if (caFile != nullptr) {
        limits.caFile = caFile;
    }
    const char* timeout = getenv("VCFG_MAIL_TIMEOUT_S");
    const long seconds = timeout == nullptr ? 0 : strtol(timeout, nullptr, 10);
    if (seconds > 0 && seconds <= 600) {
        limits.totalSeconds = seconds;
        limits.connectSeconds = std::min(limits.connectSeconds, seconds);
    }
    return limits;
}

std::string sendMail() {
    std::string text;
    if (!readRequest(text)) {
        return "the request cannot be read or is too long";
    }
    mail::Request request;
    std::string reason = mail::parse(text, request);
    if (!reason.empty()) {
        return reason;
    }
    const time_t now = time(nullptr);
    return mail::deliver(request, mail::compose(request, now, newIdentity(now)), limitsOfEnvironment());
}

}  // namespace

int main() {
    vcfg::holdStandardStreams();
    std::string reason;
    try {
        reason = sendMail();
    } catch (const std::exception&) {
        reason = "there is no memory for the mail";
    }
    if (reason.empty()) {
        return 0;
    }
    fprintf(stderr, "vcfg-mail: %s\n", reason.c_str());
    return 1;
}
