#include "bus_server.h"

#include <sys/epoll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <mutex>
#include <vector>

#include "client_log.h"
#include "connections.h"
#include "deadline.h"
#include "listener.h"
#include "packet.h"
#include "run_dir.h"

namespace vcfg::bus {
namespace {

constexpr int kEventsAtOnce = 32;
// Packets taken from one connection before the others have their turn.
constexpr unsigned kTurn = 32;
constexpr unsigned kAcceptsAtOnce = 16;
// In epoll's data, where ids of connections begin at 1.
constexpr ConnectionId kListener = 0;
constexpr ConnectionId kSocketFile = ~ConnectionId{0};

struct Ready {
    std::array<epoll_event, kEventsAtOnce> events;
    int count;
};

class EndpointServer final : public Server {
  public:
    explicit EndpointServer(uint8_t eid) : eid_(eid) {}
    ~EndpointServer() override;
    EndpointServer(const EndpointServer&) = delete;
    EndpointServer& operator=(const EndpointServer&) = delete;

    int start();
    bool isOwn() const override { return process_ == getpid(); }
    int reopen() override;
    bool isSuperseded() const override { return listener_.isSuperseded(); }
    int pollFd() const override { return epoll_; }
    MessagePtr receive(ConnectionId* from) override;
    MessagePtr wait(int timeoutMs, ConnectionId* from, int* code) override;
    int answer(ConnectionId to, const vcfg_msg_t& message) override;
    ConnectionId requester(uint8_t srcEid, uint32_t requestId, ConnectionId preferred) const override;
    void close(ConnectionId connection) override;

  private:
    int listen();
    void lookAtSocket();
    bool watch(int socket, ConnectionId id);
    void enqueue(const Ready& ready);
    MessagePtr nextReady(ConnectionId* from);
    MessagePtr takeFrom(Connection& connection, ConnectionId* from);
    void acceptWaiting();
    bool acceptOne();
    void endTurn();

    const uint8_t eid_;
    const pid_t process_ = getpid();
    int epoll_ = -1;

    mutable std::mutex mutex_;  // guards what follows; not held while waiting
    Listener listener_{eid_};
    Receiver receiver_;
    Connections connections_;
    std::vector<ConnectionId> ready_;
    size_t turn_ = 0;  // whose turn it is in ready_
    unsigned taken_ = 0;
};

EndpointServer::~EndpointServer() {
    if (isOwn()) {
        listener_.remove();
    }
    if (epoll_ >= 0) {
        ::close(epoll_);
    }
}

int EndpointServer::start() {
    epoll_ = epoll_create1(EPOLL_CLOEXEC);
    if (epoll_ < 0 || !listener_.prepare()) {
        CLIENT_LOG(VLOG_ERROR, "endpoint %u cannot be opened: %s", eid_, strerror(errno));
        return VCFG_ERR_FAIL;
    }
    if (!watch(listener_.fileWatch(), kSocketFile)) {
        CLIENT_LOG(VLOG_WARNING, "endpoint %u will not notice that its socket is removed: %s", eid_, strerror(errno));
    }
    return reopen();
}

int EndpointServer::reopen() {
    const std::lock_guard guard(mutex_);
    if (listener_.isCurrent()) {
        return VCFG_OK;
    }
    const int code = checkRunDirectory();
    return code != VCFG_OK ? code : listen();
}

// Who has connected at the former socket already may have sent something.
int EndpointServer::listen() {
    const auto drain = [this] {
        for (int each = 0; each <= Listener::kBacklog && acceptOne(); ++each) {
        }
    };
    return listener_.listen([this](int socket) { return watch(socket, kListener); }, drain);
}

// A removed file cannot be put back, and what took its place without being a socket serves nobody.
void EndpointServer::lookAtSocket() {
    if (!listener_.hasLostItsFile() || !isOwn()) {
        return;
    }
    CLIENT_LOG(VLOG_WARNING, "the socket of endpoint %u has been removed; it is made anew", eid_);
    if (checkRunDirectory() == VCFG_OK) {
        listen();
    }
}

bool EndpointServer::watch(int socket, ConnectionId id) {
    epoll_event event{};
    event.events = EPOLLIN;
    event.data.u64 = id;
    return epoll_ctl(epoll_, EPOLL_CTL_ADD, socket, &event) == 0;
}

MessagePtr EndpointServer::receive(ConnectionId* from) {
    const std::lock_guard guard(mutex_);
    MessagePtr message = nextReady(from);
    // Accepting a connection is progress without a message; its first packet may wait behind it.
    for (int round = 0; message == nullptr && round < 4; ++round) {
        Ready ready;
        ready.count = epoll_wait(epoll_, ready.events.data(), kEventsAtOnce, 0);
        if (ready.count <= 0) {
            break;
        }
        enqueue(ready);
        message = nextReady(from);
    }
    return message;
}

MessagePtr EndpointServer::wait(int timeoutMs, ConnectionId* from, int* code) {
    const Deadline deadline = timeoutMs < 0 ? Deadline::never() : Deadline::in(static_cast<uint32_t>(timeoutMs));
    Ready ready;
    ready.count = 0;
    for (;;) {
        {
            const std::lock_guard guard(mutex_);
            enqueue(ready);
            MessagePtr message = nextReady(from);
            if (message != nullptr) {
                return message;
            }
        }
        ready.count = epoll_wait(epoll_, ready.events.data(), kEventsAtOnce, deadline.remainingMs());
        if (ready.count < 0 && errno != EINTR) {
            *code = VCFG_ERR_FAIL;
            return nullptr;
        }
        if (ready.count == 0 && deadline.passed()) {
            *code = VCFG_ERR_TIMEOUT;
            return nullptr;
        }
    }
}

void EndpointServer::enqueue(const Ready& ready) {
    for (int each = 0; each < ready.count; ++each) {
        ready_.push_back(ready.events[static_cast<size_t>(each)].data.u64);
    }
}

MessagePtr EndpointServer::nextReady(ConnectionId* from) {
    while (turn_ < ready_.size()) {
        Connection* connection = connections_.find(ready_[turn_]);
        MessagePtr message;
        if (ready_[turn_] == kListener) {
            acceptWaiting();
            endTurn();
        } else if (ready_[turn_] == kSocketFile) {
            lookAtSocket();
            endTurn();
        } else if (connection == nullptr) {
            endTurn();
        } else {
            message = takeFrom(*connection, from);
        }
        if (message != nullptr) {
            return message;
        }
    }
    return nullptr;
}

MessagePtr EndpointServer::takeFrom(Connection& connection, ConnectionId* from) {
    MessagePtr message;
    Arrival arrival = receiver_.receive(connection.socket, MSG_DONTWAIT, &message);
    const char* fault = receiver_.fault();
    if (arrival == Arrival::Message && !connections_.note(connection, *message)) {
        arrival = Arrival::Bad;
        fault = "it repeats the id of a request that somebody else waits on";
    }
    if (arrival == Arrival::Message) {
        if (from != nullptr) {
            *from = connection.id;
        }
        if (++taken_ == kTurn) {
            endTurn();
        }
        return message;
    }
    endTurn();
    if (arrival == Arrival::Bad) {
        CLIENT_LOG(VLOG_ERROR, "endpoint %u refuses a packet: %s", eid_, fault);
    }
    if (arrival == Arrival::Closed && connection.leaving && owesAnswer(connection)) {
        connection.drained = true;
        epoll_ctl(epoll_, EPOLL_CTL_DEL, connection.socket, nullptr);
    } else if (arrival != Arrival::Nothing) {
        connections_.close(connection.id);
    }
    return nullptr;
}

void EndpointServer::endTurn() {
    taken_ = 0;
    if (++turn_ >= ready_.size()) {
        ready_.clear();
        turn_ = 0;
    }
}

// False when no peer waits any more.
bool EndpointServer::acceptOne() {
    int socket = -1;
    const bool more = listener_.accept(&socket);
    if (socket >= 0) {
        connections_.makeRoom();
        const Connection& connection = connections_.add(socket);
        if (!watch(socket, connection.id)) {
            CLIENT_LOG(VLOG_ERROR, "endpoint %u cannot watch a connection: %s", eid_, strerror(errno));
            connections_.close(connection.id);
        }
    }
    return more;
}

void EndpointServer::acceptWaiting() {
    for (unsigned accepted = 0; accepted < kAcceptsAtOnce && acceptOne(); ++accepted) {
    }
}

int EndpointServer::answer(ConnectionId to, const vcfg_msg_t& message) {
    const std::lock_guard guard(mutex_);
    Connection* connection = connections_.find(to);
    if (connection == nullptr) {
        return VCFG_ERR_NO_PEER;
    }
    connections_.answered(*connection, message);
    const int error = sendPacket(connection->socket, message, MSG_DONTWAIT);
    if (turn_ < ready_.size() && ready_[turn_] == to) {
        endTurn();  // who waited for this answer has sent nothing more yet
    }
    if (connection->drained && !owesAnswer(*connection)) {
        connections_.close(to);
        return error == 0 ? VCFG_OK : VCFG_ERR_NO_PEER;
    }
    if (error == EAGAIN) {
        CLIENT_LOG(VLOG_WARNING, "endpoint %u does not read its answers: its connection is closed", message.dstEid);
        shutdown(connection->socket, SHUT_RDWR);  // what it sent before is still received
        return VCFG_ERR_FULL;
    }
    if (error == 0) {
        return VCFG_OK;
    }
    return error == EPIPE || error == ECONNRESET || error == ENOTCONN ? VCFG_ERR_NO_PEER : VCFG_ERR_FAIL;
}

ConnectionId EndpointServer::requester(uint8_t srcEid, uint32_t requestId, ConnectionId preferred) const {
    const std::lock_guard guard(mutex_);
    return connections_.requester(srcEid, requestId, preferred);
}

void EndpointServer::close(ConnectionId connection) {
    const std::lock_guard guard(mutex_);
    connections_.close(connection);
}

}  // namespace

std::unique_ptr<Server> Server::open(uint8_t eid, int* code) {
    auto server = std::make_unique<EndpointServer>(eid);
    *code = eid == 0 ? VCFG_ERR_INVALID : server->start();
    if (*code != VCFG_OK) {
        return nullptr;
    }
    return server;
}

}  // namespace vcfg::bus
