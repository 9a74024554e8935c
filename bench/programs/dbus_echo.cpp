#include "dbus_echo.h"

#include <systemd/sd-bus.h>

#include <cerrno>
#include <memory>

namespace bench {
namespace {

constexpr const char* kPath = "/echo";
constexpr const char* kInterface = "bench.Echo";

struct Unref {
    void operator()(sd_bus_message* message) const { sd_bus_message_unref(message); }
};
using Message = std::unique_ptr<sd_bus_message, Unref>;

void must(int code, const char* what) {
    if (code < 0) {
        errno = -code;
        fail(what);
    }
}

int echo(sd_bus_message* call, void*, sd_bus_error*) {
    const void* bytes = nullptr;
    size_t size = 0;
    sd_bus_message* reply = nullptr;
    must(sd_bus_message_read_array(call, 'y', &bytes, &size), "read");
    must(sd_bus_message_new_method_return(call, &reply), "reply");
    const Message owned(reply);
    must(sd_bus_message_append_array(reply, 'y', bytes, size), "append");
    return sd_bus_send(nullptr, reply, nullptr);
}

int take(sd_bus_message*, void*, sd_bus_error*) {
    return 1;
}

Message newCall(sd_bus* bus, const char* destination, const char* method, size_t payload) {
    static const std::string bytes(kPayloads[2], 'x');
    sd_bus_message* call = nullptr;
    must(sd_bus_message_new_method_call(bus, &call, destination, kPath, kInterface, method), "new call");
    must(sd_bus_message_append_array(call, 'y', bytes.data(), payload), "append");
    return Message(call);
}

void roundTrip(sd_bus* bus, const char* destination, size_t payload) {
    const Message call = newCall(bus, destination, "Echo", payload);
    sd_bus_message* reply = nullptr;
    must(sd_bus_call(bus, call.get(), 0, nullptr, &reply), "call");
    const Message owned(reply);
}

void sendOne(sd_bus* bus, const char* destination) {
    const Message call = newCall(bus, destination, "Take", kPayloads[0]);
    must(sd_bus_message_set_expect_reply(call.get(), 0), "no reply");
    must(sd_bus_send(bus, call.get(), nullptr), "send");
}

void batch(sd_bus* bus, const char* destination, int count) {
    constexpr int kFlush = 256;  // the library queues without bound otherwise
    for (int each = 1; each <= count; ++each) {
        sendOne(bus, destination);
        if (each % kFlush == 0) {
            must(sd_bus_flush(bus), "flush");
        }
    }
    roundTrip(bus, destination, 0);
}

}  // namespace

sd_bus* newBus() {
    sd_bus* bus = nullptr;
    must(sd_bus_new(&bus), "sd_bus_new");
    return bus;
}

void serveDbus(sd_bus* bus) {
    static const sd_bus_vtable methods[] = {
        SD_BUS_VTABLE_START(0), SD_BUS_METHOD("Echo", "ay", "ay", echo, SD_BUS_VTABLE_UNPRIVILEGED),
        SD_BUS_METHOD("Take", "ay", "", take, SD_BUS_VTABLE_UNPRIVILEGED | SD_BUS_VTABLE_METHOD_NO_REPLY),
        SD_BUS_VTABLE_END};
    must(sd_bus_add_object_vtable(bus, nullptr, kPath, kInterface, methods, nullptr), "methods");
}

void loopDbus(sd_bus* bus) {
    for (;;) {
        const int done = sd_bus_process(bus, nullptr);
        must(done, "process");
        if (done == 0) {
            must(sd_bus_wait(bus, UINT64_MAX), "wait");
        }
    }
}

std::vector<Measure> dbusMeasures(sd_bus* bus, const char* destination) {
    return calls([=](size_t payload) { roundTrip(bus, destination, payload); }) +
           oneWay([=](int count) { batch(bus, destination, count); });
}

}  // namespace bench
