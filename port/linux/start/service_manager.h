// The service manager that started us: one datagram for each thing it wants to know.
#pragma once

#include <cstdint>
#include <string>

class ServiceManager {
  public:
    // As the environment says; nobody when it says nothing. What follows in this process's place finds none of it
    // there.
    static ServiceManager ofEnvironment();

    bool isThere() const { return !socket_.empty(); }
    // "READY=1", "WATCHDOG=1", "STATUS=..."; lost when it does not listen.
    void tell(const std::string& text) const;
    // How long it waits for a sign of life; 0 when it does not.
    uint32_t patienceMs() const { return patienceMs_; }

  private:
    std::string socket_;
    uint32_t patienceMs_ = 0;
};
