#include "own_mounts.h"

#include <fcntl.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

#include <climits>

#include "steps.h"

namespace {

bool makePrivate() {
    return mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0;
}

bool isTop() {
    struct stat here {};
    struct stat above {};
    must(stat(".", &here), "cannot look at a folder above the chroot");
    must(stat("..", &above), "cannot look at a folder above the chroot");
    return here.st_dev == above.st_dev && here.st_ino == above.st_ino;
}

// The folder that the process is in lies outside a root that is set below it, and so the way up is open.
void leaveChroot() {
    must(chdir("/"), "cannot enter /");
    must(chroot("/proc"), "cannot leave the chroot (run as root)");
    while (!isTop()) {
        must(chdir(".."), "cannot leave the chroot");
    }
    must(chroot("."), "cannot leave the chroot");
}

// A mount of the folder over itself is a root like any other.
void makeRootOf(int folder) {
    char place[PATH_MAX];
    must(fchdir(folder), "cannot enter the chroot");
    if (getcwd(place, sizeof place) == nullptr) {
        fail("cannot tell where the chroot is");
    }
    bindOn(".", ".");
    must(chdir(place), "cannot enter the chroot");
    must(chroot("."), "cannot make the chroot the root");
    must(chdir("/"), "cannot enter /");
}

}  // namespace

void makeMountsOwn() {
    if (makePrivate()) {
        return;
    }
    if (errno != EINVAL) {
        fail("cannot make the mounts private");
    }
    // A chroot into a plain folder: mounts there belong to a mount that lies above it, out of sight.
    const int chroot = open("/", O_PATH | O_DIRECTORY | O_CLOEXEC);
    must(chroot, "cannot open /");
    leaveChroot();
    if (!makePrivate()) {
        fail("cannot make the mounts private");
    }
    makeRootOf(chroot);
    close(chroot);
}
