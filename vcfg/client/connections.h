// The accepted connections of one endpoint, and which of them waits for which answer.
#pragma once

#include <array>
#include <vector>

#include "bus_server.h"
#include "connection_name.h"
#include "recorder/events.h"

namespace vcfg::bus {

struct RequestKey {
    uint32_t requestId;
    uint8_t srcEid;
};

struct Connection {
    ConnectionId id;
    int socket;
    uint64_t lastUse;
    std::array<RequestKey, 8> requests;  // the last ones, oldest overwritten first
    uint8_t nextRequest;
    uint8_t open;         // a bit for each of the requests that is not answered yet
    uint8_t expecting;    // and for each whose type says that an answer is expected
    bool leaving;         // takes no new packets; what it sent before is still received
    bool drained;         // and has been received
    bool isInTurn;        // as the name of the connection says
    recorder::Trip last;  // what was received last

    // Whether somebody may still wait for an answer on it. Who does not wait cannot be told from who does.
    bool owesAnswer() const { return open != 0; }
};

class Connections {
  public:
    Connections() = default;
    ~Connections();
    Connections(const Connections&) = delete;
    Connections& operator=(const Connections&) = delete;

    void watchedBy(int epoll) { epoll_ = epoll; }
    // From now on epoll tells of each that has something to receive, as long as it has.
    void watchLevels();
    // False when it cannot be watched.
    bool add(int socket, const ConnectionName& name);
    Connection* find(ConnectionId id);
    void close(ConnectionId id);

    // Remembers who sent the message, for its answer. False when it repeats the id of a request that somebody else
    // still waits on: the answer to either could reach the other.
    bool note(Connection& connection, const vcfg_msg_t& message);
    void answered(Connection& connection, const vcfg_msg_t& answer);
    // The connection that a requester waits on, by what its request said; null when there is none.
    Connection* requester(uint8_t srcEid, uint32_t requestId, ConnectionId preferred);

    // Makes room for one more: the connection that was silent longest gives way, one that owes no answer first.
    void makeRoom();

  private:
    bool watch(const Connection& connection, int operation) const;
    bool isTaken(const Connection& by, const RequestKey& key);
    void forget(Connection& connection, uint8_t requests);
    uint16_t& openLike(const RequestKey& key);

    std::vector<Connection> all_;  // ids only grow, so it is sorted by them
    // How many unanswered requests there are of each of 256 kinds, so that hardly ever all must be looked at.
    std::array<uint16_t, 256> openLike_{};
    ConnectionId lastId_ = 0;
    int epoll_ = -1;
    bool watchesLevels_ = false;
    size_t lastFound_ = 0;  // whose turn it is, is looked up again and again
    uint64_t uses_ = 0;
};

}  // namespace vcfg::bus
