// Whom the daemon speaks to, in a process of its own: the wireless daemon, which is also the DHCP client that gets
// signals.
#pragma once

#include "vcmd_kit.h"

class Peers {
  public:
    explicit Peers(const Vcmd& bus);  // before this process has threads
    ~Peers();
    Peers(const Peers&) = delete;
    Peers& operator=(const Peers&) = delete;

    std::string pidFile() const { return pidFile_; }

  private:
    std::string pidFile_;
    pid_t process_;
};
