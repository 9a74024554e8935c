// The /bin/sh of a replay: a command text that the daemon runs is not run. Whoever plays the recording is asked for its
// result, and answers when the recording has come to it: the status as system() tells it, and what the command printed.
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>

#include "client/standard_streams.h"
#include "shell_call.h"

namespace {

constexpr const char* kPlayer = "/run/gateway/replay";
constexpr size_t kLargest = 65536;
constexpr int kNotRun = 127;

// The answer: four bytes of the status, and the output.
std::string ask(const std::string& command) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    strncpy(address.sun_path, kPlayer, sizeof address.sun_path - 1);
    std::string answer(kLargest, '\0');
    const int player = socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0);
    const bool asked = player >= 0 &&
                       connect(player, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0 &&
                       send(player, command.data(), command.size(), MSG_NOSIGNAL) >= 0;
    const ssize_t size = asked ? recv(player, answer.data(), answer.size(), 0) : -1;
    answer.resize(size < 0 ? 0 : static_cast<size_t>(size));
    return answer;
}

}  // namespace

int main(int count, char** words) {
    vcfg::holdStandardStreams();
    const char* const command = commandText(count, words);
    if (command == nullptr || !daemonAsks()) {
        becomeShell(words);
    }
    const std::string answer = ask(std::string("command ") + command);
    int32_t status = 0;
    if (answer.size() < sizeof status) {
        fprintf(stderr, "sh: nobody has a result for: %s\n", command);
        return kNotRun;
    }
    memcpy(&status, answer.data(), sizeof status);
    fwrite(answer.data() + sizeof status, 1, answer.size() - sizeof status, stdout);
    fflush(stdout);
    return endAs(status);
}
