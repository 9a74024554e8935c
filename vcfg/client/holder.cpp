#include "holder.h"

#include <signal.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "descriptor.h"
#include "process.h"
#include "roster.h"
#include "run_dir.h"

namespace vcfg::bus {
namespace {

Holder::State stateOf(int error) {
    switch (error) {
        case 0:
            return Holder::State::Alive;
        case EAGAIN:
            return Holder::State::Busy;
        case EACCES:
        case EPERM:
            return Holder::State::Barred;
        default:
            return Holder::State::Dead;
    }
}

// The kernel says who listens; a process that is gone refuses.
Holder probe(uint8_t eid) {
    Holder holder;
    sockaddr_un address;
    ucred peer{};
    socklen_t size = sizeof peer;
    const int connection = aboveStandard(socket(AF_UNIX, SOCK_SEQPACKET | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
    if (connection >= 0 && toAddress(socketPath(eid), &address)) {
        const bool connected = connect(connection, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
        holder.state = stateOf(connected ? 0 : errno);
        if (connected && getsockopt(connection, SOL_SOCKET, SO_PEERCRED, &peer, &size) == 0) {
            holder.process = peer.pid;
        }
    }
    if (connection >= 0) {
        close(connection);
    }
    return holder;
}

// What it has said of itself, and where it has said nothing, what the system says.
void name(Holder& holder, const Signature& signature) {
    holder.program = signature.program;
    holder.sinceUs = holder.isThere() ? signature.sinceUs : 0;
    if (holder.process == 0 && holder.state != Holder::State::Alive) {
        holder.process = signature.process;
    }
    if (holder.process > 0 && holder.isThere()) {
        holder.program = holder.program.empty() ? programOf(holder.process) : holder.program;
        holder.sinceUs = holder.sinceUs == 0 ? startOf(holder.process) : holder.sinceUs;
    }
}

void examine(Holder& holder) {
    if (holder.state != Holder::State::Alive || holder.process <= 0) {
        return;
    }
    const char state = stateLetterOf(holder.process);
    if (state == 'Z' || (kill(holder.process, 0) != 0 && errno == ESRCH)) {
        holder.state = Holder::State::Left;
    } else if (state == 'T' || state == 't') {
        holder.state = Holder::State::Stopped;
    }
}

}  // namespace

std::string Holder::text() const {
    const std::string named = program.empty() ? "" : " (" + program + ")";
    if (process <= 0) {
        return "a process" + named + " that is not seen here";
    }
    const std::string whom = "process " + std::to_string(process) + named;
    switch (state) {
        case State::Stopped:
            return whom + ", which is stopped";
        case State::Busy:
            return whom + ", which takes no connections";
        case State::Left:
            return whom + ", which has ended and left it to a child";
        default:
            return program.empty() ? whom + ", whose program is not known" : whom;
    }
}

Holder holderOf(uint8_t eid) {
    struct stat file {};
    attachRoster();
    if (lstat(socketPath(eid).c_str(), &file) != 0) {
        return {};
    }
    Holder holder = probe(eid);
    examine(holder);
    name(holder, signatureOf(eid, file.st_ino));
    return holder;
}

}  // namespace vcfg::bus
