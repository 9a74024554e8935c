// Linked into tests that start the daemon: its timer's socket has one address on a machine, and a second daemon takes
// it away from the first. Who may have one gets a /tmp of its own, before anything else runs in the process.
#include <sched.h>
#include <sys/mount.h>

namespace {

[[maybe_unused]] const bool apart = unshare(CLONE_NEWNS) == 0 &&
                                    mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
                                    mount("own", "/tmp", "tmpfs", 0, nullptr) == 0;

}  // namespace
