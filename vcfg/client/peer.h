// Who is at the other end of a connection.
#pragma once

#include <cstdint>

namespace vcfg::bus {

// Root, the server's own user, and members of the run directory's group when it has one; anybody else is logged.
bool peerMayTalk(int socket, const char* what, unsigned number);

}  // namespace vcfg::bus
