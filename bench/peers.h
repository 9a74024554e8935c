// What the bus is measured against.
#pragma once

#include <cstddef>
#include <memory>
#include <string>

struct sd_bus;

namespace bench {

// A bare AF_UNIX SOCK_SEQPACKET pair, without anything of ours.
int connectBare(const std::string& path);
void serveBareEcho(int listener);
void serveBareSink(int listener);
int listenBare(const std::string& path);
void bareRoundTrip(int socket, std::string& packet);

// A D-Bus method call by way of a dbus-daemon of its own.
class PrivateDbus {
  public:
    explicit PrivateDbus(const std::string& directory);
    ~PrivateDbus();
    PrivateDbus(const PrivateDbus&) = delete;
    PrivateDbus& operator=(const PrivateDbus&) = delete;

    const std::string& address() const { return address_; }

  private:
    std::string address_;
    int process_ = -1;
};
sd_bus* openDbus(const std::string& address);
void serveDbusEcho(sd_bus* bus);
void dbusRoundTrip(sd_bus* bus, const std::string& payload);

}  // namespace bench
