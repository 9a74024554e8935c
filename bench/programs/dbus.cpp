// D-Bus by way of a dbus-daemon of its own.
#include <systemd/sd-bus.h>

#include <cstdio>

#include "dbus_echo.h"

namespace {

using namespace bench;

constexpr const char* kName = "bench.echo";

void writeConfiguration(const std::string& path, const std::string& address) {
    FILE* const file = fopen(path.c_str(), "we");
    if (file == nullptr) {
        fail(path);
    }
    fprintf(file,
            "<!DOCTYPE busconfig PUBLIC \"-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN\" "
            "\"http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd\"><busconfig><listen>%s</listen>"
            "<policy context=\"default\"><allow send_destination=\"*\" eavesdrop=\"true\"/><allow user=\"*\"/>"
            "<allow receive_sender=\"*\"/><allow own=\"*\"/></policy></busconfig>\n",
            address.c_str());
    fclose(file);
}

sd_bus* connect(const std::string& address) {
    sd_bus* bus = nullptr;
    await("the D-Bus daemon", [&] {
        bus = newBus();
        sd_bus_set_address(bus, address.c_str());
        sd_bus_set_bus_client(bus, 1);
        const char* name = nullptr;
        if (sd_bus_start(bus) >= 0 && sd_bus_get_unique_name(bus, &name) >= 0) {
            return true;
        }
        sd_bus_close_unref(bus);
        return false;
    });
    return bus;
}

}  // namespace

int main() {
    const Directory directory;
    const std::string address = "unix:path=" + directory.file("bus");
    writeConfiguration(directory.file("bus.conf"), address);
    const Process daemon({"dbus-daemon", "--nofork", "--nopidfile", "--config-file=" + directory.file("bus.conf")});
    const Process server([&](const auto& ready) {
        sd_bus* const bus = connect(address);
        serveDbus(bus);
        if (sd_bus_request_name(bus, kName, 0) < 0) {
            fail("the server's name");
        }
        ready();
        loopDbus(bus);
    });
    return serve(dbusMeasures(connect(address), kName));
}
