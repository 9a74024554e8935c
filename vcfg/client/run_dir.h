// The run directory: where the endpoints' sockets are, and who may put them there.
#pragma once

#include <sys/socket.h>
#include <sys/types.h>
#include <sys/un.h>

#include <cstdint>
#include <string>

namespace vcfg::bus {

// $VCFG_RUN_DIR, or /run/vcfg.
std::string runDirectory();

// Makes the directory (mode 0700) when it is missing, and refuses one that others could have prepared: VCFG_ERR_RIGHTS
// after one log line. VCFG_ERR_FAIL when it cannot be made.
int checkRunDirectory();

// Whether it is there and not to be refused; nothing is made or logged.
bool mayUseRunDirectory();

// The group whose members may talk to the endpoints besides root and the server's own user: only a run directory of
// mode 0770 has one. False when there is none.
bool runDirectoryGroup(gid_t* group);

// Where endpoint `eid` listens.
std::string socketPath(uint8_t eid);
// False when the path does not fit a socket address.
bool toAddress(const std::string& path, sockaddr_un* address);

}  // namespace vcfg::bus
