// One message as one packet of a SOCK_SEQPACKET socket.
#pragma once

#include "bus_server.h"

namespace vcfg::bus {

// Sends without SIGPIPE, with send()'s further `flags`; 0 or the error number.
int sendPacket(int socket, const vcfg_msg_t& message, int flags);

// Whether the other side has closed the connection; what it sent before may still be there.
bool hasEnded(int socket);

enum class Arrival { Message, Nothing, Closed, Bad };

// Takes packets off sockets into messages of exactly the needed size.
class Receiver {
  public:
    // With recv()'s `flags`. Nothing: would block, or a signal came. Bad: `fault()` says why.
    Arrival receive(int socket, int flags, MessagePtr* message);
    const char* fault() const { return fault_; }

  private:
    Arrival examine(size_t received, MessagePtr* message);
    MessagePtr handOut(size_t size);
    Arrival bad(const char* fault) {
        fault_ = fault;
        return Arrival::Bad;
    }

    MessagePtr buffer_;  // has room for the largest message
    const char* fault_ = "";
};

}  // namespace vcfg::bus
