// nng: req and rep for calls, push and pull one way, over its ipc transport.
#include <nng/nng.h>
#include <nng/protocol/pipeline0/pull.h>
#include <nng/protocol/pipeline0/push.h>
#include <nng/protocol/reqrep0/rep.h>
#include <nng/protocol/reqrep0/req.h>

#include "measure.h"

namespace {

using namespace bench;

constexpr size_t kLargest = 66000;
constexpr size_t kMark = 1;

using Open = int(nng_socket*);

nng_socket open(Open* protocol, const std::string& address, bool listens) {
    nng_socket socket{};
    if (protocol(&socket) != 0 || (listens ? nng_listen(socket, address.c_str(), nullptr, 0)
                                           : nng_dial(socket, address.c_str(), nullptr, 0)) != 0) {
        fail(address);
    }
    return socket;
}

size_t receive(nng_socket socket, std::string& buffer) {
    size_t size = buffer.size();
    if (nng_recv(socket, buffer.data(), &size, 0) != 0) {
        fail("receiving");
    }
    return size;
}

void echo(const std::string& address, const std::function<void()>& ready) {
    const nng_socket socket = open(nng_rep0_open, address, true);
    std::string buffer(kLargest, '\0');
    ready();
    for (;;) {
        const size_t size = receive(socket, buffer);
        nng_send(socket, buffer.data(), size, 0);
    }
}

void sink(const std::string& address, const std::function<void()>& ready) {
    const nng_socket taken = open(nng_pull0_open, address, true);
    const nng_socket marks = open(nng_push0_open, address + "-marks", true);
    std::string buffer(kLargest, '\0');
    ready();
    for (;;) {
        if (receive(taken, buffer) == kMark) {
            nng_send(marks, buffer.data(), kMark, 0);
        }
    }
}

}  // namespace

int main() {
    const Directory directory;
    const std::string echoAddress = "ipc://" + directory.file("echo");
    const std::string sinkAddress = "ipc://" + directory.file("sink");
    const Process echoServer([&](const auto& ready) { echo(echoAddress, ready); });
    const Process sinkServer([&](const auto& ready) { sink(sinkAddress, ready); });
    const nng_socket request = open(nng_req0_open, echoAddress, false);
    const nng_socket push = open(nng_push0_open, sinkAddress, false);
    const nng_socket marks = open(nng_pull0_open, sinkAddress + "-marks", false);
    std::string packet(kLargest, 'x');
    const auto call = [&](size_t payload) {
        nng_send(request, packet.data(), kEnvelope + payload, 0);
        receive(request, packet);
    };
    const auto batch = [&](int count) {
        for (int each = 0; each < count; ++each) {
            nng_send(push, packet.data(), kEnvelope + kPayloads[0], 0);
        }
        nng_send(push, packet.data(), kMark, 0);
        receive(marks, packet);
    };
    return serve(calls(call) + oneWay(batch));
}
