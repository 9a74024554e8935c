// A monitor's end of the bus: it takes one of the places for those who look, and gets a copy of what everybody sends.
#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

#include "client/bus_server.h"
#include "client/monitors.h"

namespace vcfgctl {

struct Copy {
    int64_t timeUs = 0;
    vcfg::bus::Passing passing = vcfg::bus::Passing::Message;
    int code = 0;
    uint32_t thread = 0;
    uint32_t event = 0;
    pid_t process = 0;  // the sender, as the kernel names it
    std::string program;
    vcfg::bus::MessagePtr message;
    size_t held = 0;  // of its payload; a NUL is behind it
};

class Onlooker {
  public:
    Onlooker() = default;
    ~Onlooker();
    Onlooker(const Onlooker&) = delete;
    Onlooker& operator=(const Onlooker&) = delete;

    // False with *why. `whole`: payloads of any length, not only what a monitor shows of them.
    bool open(bool whole, std::string* why);
    enum class Woken { ByCopies, BySignal, ByClosedOutput };
    // Waits for copies up to that time, and adds them.
    Woken wait(int timeoutMs, std::vector<Copy>* copies);
    // How many copies there was no room for since the last time.
    uint32_t takeLost();

  private:
    struct Connection {
        int socket;
        pid_t process;
    };

    bool enter(std::string* why);
    void stay();
    void accept();
    bool receive(const Connection& connection, std::vector<Copy>* copies);

    uint8_t number_ = 0;
    bool whole_ = false;
    size_t place_ = 0;
    uint32_t lostBefore_ = 0;
    int64_t stayedUs_ = 0;
    int listener_ = -1;
    int signals_ = -1;
    std::vector<Connection> connections_;
};

}  // namespace vcfgctl
