// Local stream sockets, by which the threads and programs of one daemon talk to each other.
#pragma once

namespace vcfg {

// A descriptor that listens at `path`, for its user alone. A socket that a dead process of the same user left there is
// replaced; anything else at the path is left alone: VCFG_ERR_FAIL. VCFG_ERR_INVALID for what is no path of a socket.
int listenAt(const char* path);

// A connection to what listens at `path`; VCFG_ERR_NO_PEER when nobody does, VCFG_ERR_TIMEOUT when its queue stays
// full.
int connectTo(const char* path);

}  // namespace vcfg
