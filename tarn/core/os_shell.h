// The one way in which a command begins.
#pragma once

#include <spawn.h>
#include <sys/types.h>

#include <string>

namespace os {

// A shell that goes on with the event of the calling thread, whatever other threads start in the same instant. -1 when
// there is none to be had.
pid_t startShell(const std::string& command, const posix_spawn_file_actions_t* actions = nullptr,
                 const posix_spawnattr_t* attributes = nullptr);

}  // namespace os
