// MQTT with QoS 0 by way of a mosquitto of its own, over a local socket: a call is a publication and another one that
// answers it.
#include <mosquitto.h>

#include <cstdio>
#include <cstring>

#include "measure.h"

namespace {

using namespace bench;

constexpr const char* kCalls = "calls";
constexpr const char* kAnswers = "answers";
constexpr int kForever = -1;
constexpr int kKeepAliveSeconds = 600;

void publish(mosquitto* client, const char* topic, const void* bytes, size_t size) {
    if (mosquitto_publish(client, nullptr, topic, static_cast<int>(size), bytes, 0, false) != MOSQ_ERR_SUCCESS) {
        fail("publishing");
    }
}

void answer(mosquitto* client, void*, const mosquitto_message* message) {
    publish(client, kAnswers, message->payload, static_cast<size_t>(message->payloadlen));
}

void noteAnswer(mosquitto*, void* answered, const mosquitto_message*) {
    *static_cast<bool*>(answered) = true;
}

void noteSubscription(mosquitto* client, void*, int, int, const int*) {
    *static_cast<bool*>(mosquitto_userdata(client)) = true;
}

void loopUntil(mosquitto* client, bool& happened) {
    while (!happened) {
        if (mosquitto_loop(client, kForever, 1) != MOSQ_ERR_SUCCESS) {
            fail("the broker");
        }
    }
    happened = false;
}

using Handler = void(mosquitto*, void*, const mosquitto_message*);

mosquitto* connect(const std::string& path, const char* topic, Handler* handler, bool& happened) {
    mosquitto* const client = mosquitto_new(nullptr, true, &happened);
    mosquitto_message_callback_set(client, handler);
    mosquitto_subscribe_callback_set(client, noteSubscription);
    await("the broker",
          [&] { return mosquitto_connect(client, path.c_str(), 0, kKeepAliveSeconds) == MOSQ_ERR_SUCCESS; });
    mosquitto_subscribe(client, nullptr, topic, 0);
    loopUntil(client, happened);
    return client;
}

void writeConfiguration(const std::string& path, const std::string& socket) {
    FILE* const file = fopen(path.c_str(), "we");
    if (file == nullptr) {
        fail(path);
    }
    fprintf(file, "user root\nlistener 0 %s\nallow_anonymous true\nlog_dest none\n", socket.c_str());
    fclose(file);
}

}  // namespace

int main() {
    mosquitto_lib_init();
    const Directory directory;
    writeConfiguration(directory.file("broker.conf"), directory.file("broker"));
    const Process broker({"mosquitto", "-c", directory.file("broker.conf")});
    const Process server([&](const auto& ready) {
        bool subscribed = false;
        mosquitto* const client = connect(directory.file("broker"), kCalls, answer, subscribed);
        ready();
        mosquitto_loop_forever(client, kForever, 1);
    });
    bool answered = false;
    mosquitto* const client = connect(directory.file("broker"), kAnswers, noteAnswer, answered);
    const std::string packet(kPayloads[2] + kEnvelope, 'x');
    return serve(calls([&](size_t payload) {
        publish(client, kCalls, packet.data(), kEnvelope + payload);
        loopUntil(client, answered);
    }));
}
