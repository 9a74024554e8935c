#include "connections.h"

#include <sys/epoll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <bit>

#include "packet.h"

namespace vcfg::bus {
namespace {

constexpr size_t kLimit = 256;
constexpr size_t kLeavingLimit = 64;

bool operator==(const RequestKey& left, const RequestKey& right) {
    return left.requestId == right.requestId && left.srcEid == right.srcEid;
}

// Calls `visit` with the place of each bit that is set.
template <class Visit>
void forEachBit(unsigned bits, Visit visit) {
    for (; bits != 0; bits &= bits - 1) {
        visit(static_cast<size_t>(std::countr_zero(bits)));
    }
}

// The bits of the unanswered requests that have this sender and id.
uint8_t openWith(const Connection& connection, const RequestKey& key) {
    unsigned found = 0;
    forEachBit(connection.open, [&](size_t each) { found |= connection.requests[each] == key ? 1u << each : 0u; });
    return static_cast<uint8_t>(found);
}

// The order in which connections give way.
bool goesFirst(const Connection& left, const Connection& right) {
    const bool leftOwes = left.owesAnswer();
    return leftOwes != right.owesAnswer() ? !leftOwes : left.lastUse < right.lastUse;
}

}  // namespace

Connections::~Connections() {
    for (const Connection& connection : all_) {
        ::close(connection.socket);
    }
}

bool Connections::add(int socket, const ConnectionName& name) {
    all_.push_back(Connection{++lastId_, socket, ++uses_, {}, 0, 0, 0, false, false, name.isInTurn, {name.number, 0}});
    const bool isWatched = watch(all_.back(), EPOLL_CTL_ADD);
    if (!isWatched) {
        close(lastId_);
    }
    return isWatched;
}

// Where each packet waits for the answer to the one before, nothing is left behind one that was taken. So to be told of
// each arrival is enough, and spares the kernel to look again at a connection that has just been received from. Who
// breaks its word waits for itself.
bool Connections::watch(const Connection& connection, int operation) const {
    epoll_event event{};
    event.events = connection.isInTurn && !watchesLevels_ ? EPOLLIN | EPOLLET : EPOLLIN;
    event.data.u64 = connection.id;
    return epoll_ctl(epoll_, operation, connection.socket, &event) == 0;
}

void Connections::watchLevels() {
    if (!watchesLevels_) {
        watchesLevels_ = true;
        for (const Connection& connection : all_) {
            watch(connection, EPOLL_CTL_MOD);
        }
    }
}

Connection* Connections::find(ConnectionId id) {
    if (lastFound_ < all_.size() && all_[lastFound_].id == id) {
        return &all_[lastFound_];
    }
    const auto found = std::lower_bound(all_.begin(), all_.end(), id,
                                        [](const Connection& each, ConnectionId wanted) { return each.id < wanted; });
    lastFound_ = static_cast<size_t>(found - all_.begin());
    return found != all_.end() && found->id == id ? &*found : nullptr;
}

void Connections::close(ConnectionId id) {
    Connection* connection = find(id);
    if (connection != nullptr) {
        forget(*connection, connection->open);
        epoll_ctl(epoll_, EPOLL_CTL_DEL, connection->socket, nullptr);  // a forked child may hold it open
        ::close(connection->socket);
        all_.erase(all_.begin() + (connection - all_.data()));
    }
}

bool Connections::note(Connection& connection, const vcfg_msg_t& message) {
    connection.lastUse = ++uses_;
    const RequestKey key{message.requestId, message.srcEid};
    if (message.requestId != 0 && isTaken(connection, key)) {
        return false;
    }
    const auto bit = static_cast<uint8_t>(1u << connection.nextRequest);
    const unsigned expects = (message.type & VCFG_MSG_NO_REPLY) == 0 ? bit : 0;
    forget(connection, bit);
    connection.requests[connection.nextRequest] = key;
    connection.open = static_cast<uint8_t>(connection.open | bit);
    connection.expecting = static_cast<uint8_t>((connection.expecting & ~bit) | expects);
    connection.nextRequest = static_cast<uint8_t>((connection.nextRequest + 1) % connection.requests.size());
    ++openLike(key);
    return true;
}

uint16_t& Connections::openLike(const RequestKey& key) {
    return openLike_[(key.requestId + 31u * key.srcEid) % openLike_.size()];
}

void Connections::forget(Connection& connection, uint8_t requests) {
    forEachBit(connection.open & requests, [&](size_t each) { --openLike(connection.requests[each]); });
    connection.open = static_cast<uint8_t>(connection.open & ~requests);
}

// An event that nobody answers would keep its id for ever, so others may take that over.
bool Connections::isTaken(const Connection& by, const RequestKey& key) {
    const uint16_t like = openLike(key);
    if (like == 0 || like == std::popcount(openWith(by, key))) {
        return false;
    }
    for (Connection& other : all_) {
        const uint8_t same = openWith(other, key);
        if (same == 0 || other.id == by.id || hasEnded(other.socket)) {
            continue;
        }
        if ((same & other.expecting) != 0) {
            return true;
        }
        forget(other, same);
    }
    return false;
}

void Connections::answered(Connection& connection, const vcfg_msg_t& answer) {
    connection.lastUse = ++uses_;
    forget(connection, openWith(connection, {answer.requestId, answer.dstEid}));
}

Connection* Connections::requester(uint8_t srcEid, uint32_t requestId, ConnectionId preferred) {
    const RequestKey key{requestId, srcEid};
    if (openLike(key) == 0) {
        return nullptr;
    }
    Connection* latest = find(preferred);
    if (latest != nullptr && openWith(*latest, key) != 0) {
        return latest;
    }
    latest = nullptr;
    for (Connection& connection : all_) {
        if (openWith(connection, key) != 0 && (latest == nullptr || connection.lastUse > latest->lastUse)) {
            latest = &connection;
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
