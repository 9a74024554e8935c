// The socket that an endpoint listens at, and its file in the run directory.
#pragma once

#include <sys/stat.h>

#include <cstdint>
#include <functional>
#include <string>

#include "connection_name.h"

namespace vcfg::bus {

// A socket that takes connections at that path from those who may talk; -1 with errno.
int listenForPackets(const std::string& path, int backlog);

class Listener {
  public:
    static constexpr int kBacklog = 128;

    explicit Listener(uint8_t eid) : eid_(eid) {}
    ~Listener();
    Listener(const Listener&) = delete;
    Listener& operator=(const Listener&) = delete;

    // Gets the descriptors that it needs besides the socket; false with errno.
    bool prepare();
    // Readable when something has happened to the socket's file; -1 when that cannot be watched.
    int fileWatch() const { return inotify_; }
    int descriptor() const { return socket_; }

    // Puts a new socket in the place of whatever is there. `watch` gets it before it can be found; `drain` is called
    // when it can be, while accept() still takes who waits at the former one. Answers a vcfg_code.
    int listen(const std::function<bool(int)>& watch, const std::function<void()>& drain);
    // Takes one waiting peer: false when there is none any more. *socket stays as it is when there is none, or when it
    // may not talk. `name` is what the peer says of the connection.
    bool accept(int* socket, ConnectionName* name);

    bool isCurrent() const;     // the file is this socket's
    bool isSuperseded() const;  // it is another process's
    // Takes what the watch has to tell; true when the file is gone, or no socket any more.
    bool hasLostItsFile();
    // Takes the file away, when it is this socket's.
    void remove();

  private:
    bool publish(int socket, const std::string& fresh, const std::function<bool(int)>& watch);
    void refuseForWantOfDescriptors();

    const uint8_t eid_;
    int socket_ = -1;
    int inotify_ = -1;
    int reserve_ = -1;  // given up for a moment to refuse a peer when the process is out of descriptors
    struct stat file_ {};
};

}  // namespace vcfg::bus
