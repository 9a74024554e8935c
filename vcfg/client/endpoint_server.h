// What is behind Server: opening in bus_server.cpp, receiving in server_receive.cpp, answering in server_answer.cpp.
#pragma once

#include <sys/epoll.h>
#include <unistd.h>

#include <array>
#include <mutex>

#include "connections.h"
#include "listener.h"
#include "packet.h"
#include "turns.h"

namespace vcfg::bus {

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
    int pollFd() override;
    MessagePtr receive(ConnectionId* from) override;
    bool hasMore() const override { return !turns_.isEmpty(); }
    MessagePtr wait(int timeoutMs, ConnectionId* from, int* code) override;
    int answer(ConnectionId to, const vcfg_msg_t& message) override;
    bool answerRequester(const vcfg_msg_t& message, ConnectionId preferred, int* code) override;
    bool isOpen(ConnectionId connection) override;
    void close(ConnectionId connection) override;

  private:
    // In epoll's data, where ids of connections begin at 1.
    static constexpr ConnectionId kListener = 0;
    static constexpr ConnectionId kSocketFile = ~ConnectionId{0};

    struct Ready {
        std::array<epoll_event, 64> events;
        int count;
    };

    int listen();
    bool watch(int socket, ConnectionId id);
    void lookAtSocket();
    bool acceptOne();
    void acceptWaiting();

    bool await(Ready& ready, int timeoutMs) const;
    MessagePtr next(const Ready& ready, ConnectionId* from);
    MessagePtr takeTurn(ConnectionId ready, ConnectionId* from);
    MessagePtr takeFrom(Connection& connection, ConnectionId* from);
    [[gnu::cold]] void endTurn(Connection& connection, Arrival why, const char* fault);

    int sendAnswer(Connection& connection, const vcfg_msg_t& message);
    [[gnu::cold]] static int cannotAnswer(const Connection& connection, const vcfg_msg_t& message, int error);

    const uint8_t eid_;
    const pid_t process_ = getpid();
    int epoll_ = -1;

    std::mutex mutex_;  // guards what follows; not held while waiting
    Listener listener_{eid_};
    Receiver receiver_;
    Connections connections_;
    Turns turns_;
};

}  // namespace vcfg::bus
