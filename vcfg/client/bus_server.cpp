#include "bus_server.h"

#include <sys/socket.h>

#include <cerrno>
#include <cstring>

#include "client_log.h"
#include "descriptor.h"
#include "endpoint_server.h"
#include "roster.h"
#include "run_dir.h"

namespace vcfg::bus {

namespace {

constexpr unsigned kAcceptsAtOnce = 16;

}  // namespace

EndpointServer::~EndpointServer() {
    if (isOwn()) {
        listener_.remove();
    }
    if (epoll_ >= 0) {
        ::close(epoll_);
    }
}

int EndpointServer::start() {
    epoll_ = aboveStandard(epoll_create1(EPOLL_CLOEXEC));
    if (epoll_ < 0 || !listener_.prepare()) {
        CLIENT_LOG(VLOG_ERROR, "endpoint %u cannot be opened: %s", eid_, strerror(errno));
        return VCFG_ERR_FAIL;
    }
    connections_.watchedBy(epoll_);
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
        epoll_ctl(epoll_, EPOLL_CTL_DEL, listener_.descriptor(), nullptr);  // a forked child may hold it open
    };
    return listener_.listen([this](int socket) { return watch(socket, kListener); }, drain);
}

bool EndpointServer::watch(int socket, ConnectionId id) {
    epoll_event event{};
    event.events = EPOLLIN;
    event.data.u64 = id;
    return epoll_ctl(epoll_, EPOLL_CTL_ADD, socket, &event) == 0;
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

// False when no peer waits any more.
bool EndpointServer::acceptOne() {
    int socket = -1;
    ConnectionName name;
    const bool more = listener_.accept(&socket, &name);
    if (socket >= 0) {
        attachRoster();
        connections_.makeRoom();
        if (!connections_.add(socket, name)) {
            CLIENT_LOG(VLOG_ERROR, "endpoint %u cannot watch a connection: %s", eid_, strerror(errno));
        }
    }
    return more;
}

void EndpointServer::acceptWaiting() {
    for (unsigned accepted = 0; accepted < kAcceptsAtOnce && acceptOne(); ++accepted) {
    }
}

// Who polls does not come back for what epoll has told once.
int EndpointServer::pollFd() {
    const std::lock_guard guard(mutex_);
    connections_.watchLevels();
    return epoll_;
}

bool EndpointServer::isOpen(ConnectionId connection) {
    const std::lock_guard guard(mutex_);
    return connections_.find(connection) != nullptr;
}

void EndpointServer::close(ConnectionId connection) {
    const std::lock_guard guard(mutex_);
    connections_.close(connection);
}

std::unique_ptr<Server> Server::open(uint8_t eid, int* code) {
    auto server = std::make_unique<EndpointServer>(eid);
    *code = eid == 0 ? VCFG_ERR_INVALID : server->start();
    if (*code != VCFG_OK) {
        return nullptr;
    }
    return server;
}

}  // namespace vcfg::bus
