// What the end that connects says of the connection, in its address: no message changes.
#pragma once

#include <sys/socket.h>
#include <sys/un.h>

#include <cstdint>

namespace vcfg::bus {

struct ConnectionName {
    uint32_t number = 0;    // by which both ends call it for the recorder; 0 for none
    bool isInTurn = false;  // each packet waits for the answer to the one before
};

// Gives a socket that is about to connect a fresh name, as far as it can have one.
ConnectionName nameConnection(int socket, bool isInTurn);
// That of the peer with this address, by its own word.
ConnectionName connectionName(const sockaddr_un& address, socklen_t size);

}  // namespace vcfg::bus
