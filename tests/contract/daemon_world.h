// The daemon as a process of its own, on the bus of a test. This process plays its kernel and its peers.
#pragma once

#include "vcmd_kit.h"

class Daemon {
  public:
    // `fault` is the step that fails, one of daemon_faults.cpp.
    explicit Daemon(const Vcmd& bus, const std::string& fault = "", const std::string& name = "tarn");
    ~Daemon();
    Daemon(const Daemon&) = delete;
    Daemon& operator=(const Daemon&) = delete;

    pid_t pid() const { return pid_; }
    int awaitEnd();  // its exit status
    bool runs() const;
    size_t logged(const std::string& part) const;  // lines of any channel that contain it
    bool says(const std::string& part) const;      // soon
    std::vector<std::string> log() const;
    std::vector<std::string> asked() const;  // commands, and what else it wanted of the system, in order
    bool asksFor(const std::string& command) const;
    // A value of its /proc status, "VmPeak" or "Threads".
    size_t statusValue(const std::string& key) const;

    void kernelSays(const std::string& event) const;  // waits for room in its socket

  private:
    std::vector<std::string> linesOf(const std::string& suffix) const;
    std::filesystem::path files_;
    mutable pid_t pid_ = -1;
    int kernel_ = -1;
};

// Asks an endpoint of the daemon for something that it answers at once; the answer's code.
int askDaemon(uint8_t eid, uint32_t timeoutMs = 20000);
int tellDaemon(uint8_t eid, uint32_t type, const std::string& payload = "");
