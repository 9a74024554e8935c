// ZeroMQ: REQ and REP for calls, PUSH and PULL one way, over its ipc transport.
#include <zmq.h>

#include "measure.h"

namespace {

using namespace bench;

constexpr size_t kLargest = 66000;
constexpr size_t kMark = 1;

void* open(void* context, int type, const std::string& address, bool listens) {
    void* const socket = zmq_socket(context, type);
    if (socket == nullptr || (listens ? zmq_bind : zmq_connect)(socket, address.c_str()) != 0) {
        fail(address);
    }
    return socket;
}

void echo(const std::string& address, const std::function<void()>& ready) {
    void* const socket = open(zmq_ctx_new(), ZMQ_REP, address, true);
    std::string buffer(kLargest, '\0');
    ready();
    for (int size = 0; size >= 0;) {
        size = zmq_recv(socket, buffer.data(), buffer.size(), 0);
        zmq_send(socket, buffer.data(), static_cast<size_t>(size), 0);
    }
}

void sink(const std::string& address, const std::function<void()>& ready) {
    void* const context = zmq_ctx_new();
    void* const taken = open(context, ZMQ_PULL, address, true);
    void* const marks = open(context, ZMQ_PUSH, address + "-marks", true);
    std::string buffer(kLargest, '\0');
    ready();
    for (int size = 0; size >= 0;) {
        size = zmq_recv(taken, buffer.data(), buffer.size(), 0);
        if (size == kMark) {
            zmq_send(marks, buffer.data(), kMark, 0);
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
    void* const context = zmq_ctx_new();
    void* const request = open(context, ZMQ_REQ, echoAddress, false);
    void* const push = open(context, ZMQ_PUSH, sinkAddress, false);
    void* const marks = open(context, ZMQ_PULL, sinkAddress + "-marks", false);
    std::string packet(kLargest, 'x');
    const auto call = [&](size_t payload) {
        zmq_send(request, packet.data(), kEnvelope + payload, 0);
        zmq_recv(request, packet.data(), packet.size(), 0);
    };
    const auto batch = [&](int count) {
        for (int each = 0; each < count; ++each) {
            zmq_send(push, packet.data(), kEnvelope + kPayloads[0], 0);
        }
        zmq_send(push, packet.data(), kMark, 0);
        zmq_recv(marks, packet.data(), packet.size(), 0);
    };
    return serve(calls(call) + oneWay(batch));
}
