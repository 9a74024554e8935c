// The endpoints that this process has registered.
#pragma once

#include <string>

#include "bus_server.h"

namespace vcfg {

// As vcfg_msg_eidInit and vcfg_msg_serverInit.
int registerEndpoint(uint8_t eid, const char* name);
int openServer();

// What the calling thread receives with.
struct Reception {
    bus::Server* server;          // null when none is open
    bus::ConnectionId* lastFrom;  // where its last message came from, to tell requesters with equal ids apart
};
Reception reception();

// The calling thread's endpoint, else the process's first one, else 0.
uint8_t threadEid();

// The name that log lines carry: the thread's, else that of the process's first endpoint, else the program's.
const char* daemonName();

// Sends an answer by the connection that its request came by, to whichever of the process's endpoints that was;
// VCFG_ERR_NO_PEER when there is none.
int answerRequester(const vcfg_msg_t& answer);

}  // namespace vcfg
