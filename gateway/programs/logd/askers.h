// Those who ask to be told when all that was logged before is in the file: each connects, gets one byte and is let go.
#pragma once

#include <cstdint>
#include <vector>

class Askers {
  public:
    explicit Askers(const char* path);

    int socket() const { return socket_; }  // where they come; -1 when it cannot be had
    bool areThere() const { return !asking_.empty(); }
    void take(int64_t now);
    // Lines up to this moment are in the file.
    void answer(int64_t until);

  private:
    struct Asker {
        int connection;
        int64_t since;
    };
    int socket_;
    std::vector<Asker> asking_;
};
