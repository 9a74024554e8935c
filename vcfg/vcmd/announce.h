// Start-up completion for the daemon on endpoint 2: told once whenever its socket appears.
#pragma once

#include <sys/types.h>

#include <ctime>
#include <string>

#include "client/deadline.h"
#include "fd.h"

namespace vcfg::vcmd {

// What tells one socket file from another that has the same name later.
struct SocketFile {
    dev_t device = 0;
    ino_t inode = 0;
    timespec changed{};

    bool operator==(const SocketFile& other) const {
        return device == other.device && inode == other.inode && changed.tv_sec == other.changed.tv_sec &&
               changed.tv_nsec == other.changed.tv_nsec;
    }
};
// All zero when there is none.
SocketFile socketFile(uint8_t eid);

struct Announcer {
    Fd watch;  // tells of sockets that come and go in the run directory
    SocketFile announced;
    bool completed = false;  // the process behind that socket has completed its start-up
    bool due = false;
    unsigned tries = 0;
    Deadline nextTry = Deadline::never();
};

// Begins to watch the run directory; false when that is impossible.
bool openAnnouncer(Announcer& announcer, const std::string& runDir);
// Takes what the watch has to tell, and looks whether the daemon's socket is a new one.
void lookForDaemon(Announcer& announcer);
// Sends the message when it is due; tried again a while when the daemon is not ready to take it.
void announce(Announcer& announcer);

}  // namespace vcfg::vcmd
