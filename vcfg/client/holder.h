// Which process serves an endpoint now: for people, and for programs that would rather not take it over by a slip. The
// bus itself asks nobody: the newest process serves.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <string>

namespace vcfg::bus {

struct Holder {
    enum class State : uint8_t {
        None,    // nothing is there
        Dead,    // a socket at which nobody listens
        Barred,  // it is not for this user to know
        Alive,
        Stopped,  // by a signal or a debugger
        Busy,     // it does not take the connections that wait
        Left      // the process has ended, and a child of it holds its socket
    };

    State state = State::None;
    pid_t process = 0;    // 0 when it is of another process namespace, or not known
    std::string program;  // empty when it is not known
    int64_t sinceUs = 0;  // monotonic: when it began to serve, else when it was started; 0 when it is not known

    bool isThere() const { return state >= State::Alive; }
    // "process 12 (vcmd)"
    std::string text() const;
};

Holder holderOf(uint8_t eid);

}  // namespace vcfg::bus
