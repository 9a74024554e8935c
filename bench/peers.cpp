#include "peers.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <systemd/sd-bus.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace bench {
namespace {

constexpr size_t kLargest = 66000;

[[noreturn]] void fail(const char* what, int error) {
    fprintf(stderr, "bench: %s: %s\n", what, strerror(error));
    exit(1);
}

sockaddr_un addressOf(const std::string& path) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    path.copy(address.sun_path, sizeof address.sun_path - 1);
    return address;
}

int echo(sd_bus_message* call, void*, sd_bus_error*) {
    const void* bytes = nullptr;
    size_t size = 0;
    sd_bus_message* reply = nullptr;
    int code = sd_bus_message_read_array(call, 'y', &bytes, &size);
    code = code < 0 ? code : sd_bus_message_new_method_return(call, &reply);
    code = code < 0 ? code : sd_bus_message_append_array(reply, 'y', bytes, size);
    code = code < 0 ? code : sd_bus_send(nullptr, reply, nullptr);
    sd_bus_message_unref(reply);
    return code < 0 ? code : 1;
}

}  // namespace

int listenBare(const std::string& path) {
    const int listener = socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0);
    const sockaddr_un address = addressOf(path);
    if (bind(listener, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 || listen(listener, 4) != 0) {
        fail("bare socket", errno);
    }
    return listener;
}

int connectBare(const std::string& path) {
    const int socket = ::socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0);
    const sockaddr_un address = addressOf(path);
    if (connect(socket, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
        fail("bare connection", errno);
    }
    return socket;
}

void serveBareEcho(int listener) {
    const int socket = accept(listener, nullptr, nullptr);
    std::string buffer(kLargest, '\0');
    for (;;) {
        const ssize_t size = recv(socket, buffer.data(), buffer.size(), 0);
        if (size <= 0 || send(socket, buffer.data(), static_cast<size_t>(size), 0) < 0) {
            return;
        }
    }
}

void serveBareSink(int listener) {
    const int socket = accept(listener, nullptr, nullptr);
    std::string buffer(kLargest, '\0');
    // A packet of one byte marks the end of a batch.
    for (ssize_t size = 1; size > 0;) {
        size = recv(socket, buffer.data(), buffer.size(), 0);
        if (size == 1) {
            send(socket, buffer.data(), 1, 0);
        }
    }
}

void bareRoundTrip(int socket, std::string& packet) {
    if (send(socket, packet.data(), packet.size(), 0) < 0 || recv(socket, packet.data(), packet.size(), 0) < 0) {
        fail("bare round trip", errno);
    }
}

PrivateDbus::PrivateDbus(const std::string& directory) : address_("unix:path=" + directory + "/dbus") {
    const std::string configuration = directory + "/dbus.conf";
    FILE* file = fopen(configuration.c_str(), "w");
    fprintf(file,
            "<!DOCTYPE busconfig PUBLIC \"-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN\" "
            "\"http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd\"><busconfig><listen>%s</listen>"
            "<policy context=\"default\"><allow send_destination=\"*\" eavesdrop=\"true\"/><allow user=\"*\"/>"
            "<allow receive_sender=\"*\"/><allow own=\"*\"/></policy>"
            "</busconfig>\n",
            address_.c_str());
    fclose(file);
    const std::string option = "--config-file=" + configuration;
    const char* const arguments[] = {"dbus-daemon", "--nofork", "--nopidfile", option.c_str(), nullptr};
    posix_spawn_file_actions_t quiet;  // it complains about limits that an ordinary user may not raise
    posix_spawn_file_actions_init(&quiet);
    posix_spawn_file_actions_addopen(&quiet, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
    const int error =
        posix_spawnp(&process_, arguments[0], &quiet, nullptr, const_cast<char* const*>(arguments), environ);
    posix_spawn_file_actions_destroy(&quiet);
    if (error != 0) {
        fail("dbus-daemon", error);
    }
}

PrivateDbus::~PrivateDbus() {
    kill(process_, SIGTERM);
    waitpid(process_, nullptr, 0);
}

sd_bus* openDbus(const std::string& address) {
    int code = 0;
    for (int attempt = 0; attempt < 200; ++attempt) {  // the daemon is only starting
        sd_bus* bus = nullptr;
        sd_bus_new(&bus);
        sd_bus_set_address(bus, address.c_str());
        sd_bus_set_bus_client(bus, 1);
        code = sd_bus_start(bus);
        const char* name = nullptr;
        if (code >= 0 && (code = sd_bus_get_unique_name(bus, &name)) >= 0) {
            return bus;
        }
        sd_bus_close_unref(bus);
        usleep(20000);
    }
    fail("D-Bus connection", -code);
}

void serveDbusEcho(sd_bus* bus) {
    static const sd_bus_vtable methods[] = {
        SD_BUS_VTABLE_START(0), SD_BUS_METHOD("Echo", "ay", "ay", echo, SD_BUS_VTABLE_UNPRIVILEGED), SD_BUS_VTABLE_END};
    int code = sd_bus_add_object_vtable(bus, nullptr, "/echo", "bench.Echo", methods, nullptr);
    code = code < 0 ? code : sd_bus_request_name(bus, "bench.echo", 0);
    if (code < 0) {
        fail("D-Bus server", -code);
    }
}

void dbusRoundTrip(sd_bus* bus, const std::string& payload) {
    sd_bus_message* call = nullptr;
    sd_bus_message* reply = nullptr;
    int code = sd_bus_message_new_method_call(bus, &call, "bench.echo", "/echo", "bench.Echo", "Echo");
    code = code < 0 ? code : sd_bus_message_append_array(call, 'y', payload.data(), payload.size());
    code = code < 0 ? code : sd_bus_call(bus, call, 0, nullptr, &reply);
    if (code < 0) {
        fail("D-Bus call", -code);
    }
    sd_bus_message_unref(call);
    sd_bus_message_unref(reply);
}

}  // namespace bench
