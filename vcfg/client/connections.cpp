#include "connections.h"

#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>

#include "packet.h"

namespace vcfg::bus {
namespace {

constexpr size_t kLimit = 256;
constexpr size_t kLeavingLimit = 64;

bool isOpen(const RequestKey& key, uint8_t srcEid, uint32_t requestId) {
    return key.open && key.srcEid == srcEid && key.requestId == requestId;
}

bool asked(const Connection& connection, uint8_t srcEid, uint32_t requestId) {
    return std::any_of(connection.requests.begin(), connection.requests.end(),
                       [=](const RequestKey& key) { return isOpen(key, srcEid, requestId); });
}

// The order in which connections give way.
bool goesFirst(const Connection& left, const Connection& right) {
    const bool leftOwes = owesAnswer(left);
    return leftOwes != owesAnswer(right) ? !leftOwes : left.lastUse < right.lastUse;
}

}  // namespace

bool owesAnswer(const Connection& connection) {
    return std::any_of(connection.requests.begin(), connection.requests.end(),
                       [](const RequestKey& key) { return key.open; });
}

Connections::~Connections() {
    for (const Connection& connection : all_) {
        ::close(connection.socket);
    }
}

Connection& Connections::add(int socket) {
    all_.push_back(Connection{++lastId_, socket, ++uses_, {}, 0, false, false});
    return all_.back();
}

Connection* Connections::find(ConnectionId id) {
    const auto found = std::lower_bound(all_.begin(), all_.end(), id,
                                        [](const Connection& each, ConnectionId wanted) { return each.id < wanted; });
    return found != all_.end() && found->id == id ? &*found : nullptr;
}

void Connections::close(ConnectionId id) {
    Connection* connection = find(id);
    if (connection != nullptr) {
        ::close(connection->socket);
        all_.erase(all_.begin() + (connection - all_.data()));
    }
}

bool Connections::note(Connection& connection, const vcfg_msg_t& message) {
    connection.lastUse = ++uses_;
    if (message.requestId != 0 && isTaken(connection, message)) {
        return false;
    }
    connection.requests[connection.nextRequest] =
        RequestKey{message.srcEid, true, (message.type & VCFG_MSG_NO_REPLY) == 0, message.requestId};
    connection.nextRequest = static_cast<uint8_t>((connection.nextRequest + 1) % connection.requests.size());
    return true;
}

// An event that nobody answers would keep its id for ever, so others may take that over.
bool Connections::isTaken(const Connection& by, const vcfg_msg_t& message) {
    for (Connection& other : all_) {
        for (RequestKey& key : other.requests) {
            if (other.id == by.id || !isOpen(key, message.srcEid, message.requestId) || hasEnded(other.socket)) {
                continue;
            }
            if (key.expects) {
                return true;
            }
            key.open = false;
        }
    }
    return false;
}

void Connections::answered(Connection& connection, const vcfg_msg_t& answer) {
    connection.lastUse = ++uses_;
    for (RequestKey& key : connection.requests) {
        if (key.srcEid == answer.dstEid && key.requestId == answer.requestId) {
            key.open = false;
        }
    }
}

ConnectionId Connections::requester(uint8_t srcEid, uint32_t requestId, ConnectionId preferred) const {
    ConnectionId latest = 0;
    uint64_t latestUse = 0;
    for (const Connection& connection : all_) {
        if (asked(connection, srcEid, requestId)) {
            if (connection.id == preferred) {
                return preferred;
            }
            if (connection.lastUse > latestUse) {
                latest = connection.id;
                latestUse = connection.lastUse;
            }
        }
    }
    return latest;
}

void Connections::makeRoom() {
    if (all_.size() < kLimit) {
        return;
    }
    std::vector<Connection*> staying;
    for (Connection& connection : all_) {
        if (!connection.leaving) {
            staying.push_back(&connection);
        }
    }
    if (staying.size() >= kLimit) {
        Connection* first = *std::min_element(staying.begin(), staying.end(),
                                              [](auto* left, auto* right) { return goesFirst(*left, *right); });
        shutdown(first->socket, SHUT_RD);  // its owner's next send fails and reconnects, so nothing is lost
        first->leaving = true;
    }
    if (all_.size() >= kLimit + kLeavingLimit) {
        const auto leaving =
            std::find_if(all_.begin(), all_.end(), [](const Connection& each) { return each.leaving; });
        close(leaving->id);
    }
}

}  // namespace vcfg::bus
