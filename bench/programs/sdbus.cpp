// D-Bus without a daemon between: sd-bus at both ends of one connection.
#include <sys/socket.h>
#include <systemd/sd-bus.h>

#include "dbus_echo.h"

int main() {
    using namespace bench;
    int ends[2];
    if (socketpair(AF_UNIX, SOCK_STREAM, 0, ends) != 0) {
        fail("socketpair");
    }
    const Process server([&](const auto& ready) {
        sd_bus* const bus = newBus();
        sd_id128_t id{};
        sd_id128_randomize(&id);
        sd_bus_set_fd(bus, ends[1], ends[1]);
        sd_bus_set_server(bus, 1, id);
        sd_bus_set_anonymous(bus, 1);
        serveDbus(bus);
        ready();
        if (sd_bus_start(bus) >= 0) {
            loopDbus(bus);
        }
    });
    sd_bus* const bus = newBus();
    sd_bus_set_fd(bus, ends[0], ends[0]);
    sd_bus_set_anonymous(bus, 1);
    if (sd_bus_start(bus) < 0) {
        fail("the connection");
    }
    return serve(dbusMeasures(bus, nullptr));
}
