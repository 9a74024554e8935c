// A number by which both ends call a connection: the one that connects has it in its address, and no message changes.
#pragma once

#include <sys/socket.h>
#include <sys/un.h>

#include <cstdint>

namespace vcfg::bus {

// Gives a socket that is about to connect a fresh one; 0 when it can have none.
uint32_t nameConnection(int socket);
// That of the peer with this address, by its own word; 0 when it has none.
uint32_t connectionName(const sockaddr_un& address, socklen_t size);

}  // namespace vcfg::bus
