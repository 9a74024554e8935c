// What clients write to the timer's socket, byte for byte: up to eight of them, with a second between.
#include <sys/socket.h>
#include <unistd.h>

#include "core/descriptor.h"
#include "core/event.h"
#include "core/timer.h"
#include "core/timer_thread.h"
#include "support/kit.h"
#include "target.h"

namespace {

constexpr char kNextClient = '\x1e';
constexpr int kMostClients = 8;

const std::string& socketPath() {
    static const std::string path = "/tmp/tarn-fuzz-timer-" + std::to_string(getpid());
    return path;
}

void write(std::string_view bytes) {
    const Descriptor client(voUtilTcpConnInit(kTarnInternalIpc));
    send(client.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
}

}  // namespace

void handleInput(std::string_view bytes) {
    Gateway gateway;
    if (!inproc::isKept()) {
        inproc::keep();
    }
    gateway.timerSocket(socketPath());
    const Descriptor listening(voUtilTcpSvrInit(kTarnInternalIpc));
    Timer timer;
    for (int client = 0; client < kMostClients && !bytes.empty(); ++client) {
        const size_t end = bytes.find(kNextClient);
        write(bytes.substr(0, end));
        handleEvent("timer", [&] { timerRound(listening.get(), timer); });
        gateway.advance(1000);
        bytes.remove_prefix(end == std::string_view::npos ? bytes.size() : end + 1);
    }
    unlink(socketPath().c_str());
}
