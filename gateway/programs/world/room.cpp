#include "room.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <climits>
#include <cstring>
#include <iterator>
#include <memory>
#include <stdexcept>

#include "steps.h"

namespace {

struct CloseDirectory {
    void operator()(DIR* directory) const { closedir(directory); }
};
using Directory = std::unique_ptr<DIR, CloseDirectory>;

bool isNumber(const char* text) {
    return *text != '\0' && strspn(text, "0123456789") == strlen(text);
}

// Copies a tree with all its links and modes.
void copyTree(const std::string& from, const std::string& to) {
    const std::string content = from + "/.";
    const pid_t child = fork();
    must(child, "cannot fork");
    if (child == 0) {
        execlp("cp", "cp", "-dR", "--preserve=mode", content.c_str(), to.c_str(), static_cast<char*>(nullptr));
        _exit(127);
    }
    int status = 0;
    if (waitpid(child, &status, 0) < 0 || status != 0) {
        throw std::runtime_error("cannot copy " + from);
    }
}

bool isOwnPlace(const std::string& name) {
    constexpr const char* kOwn[] = {".", "..", "dev", "proc", "sys", "run", "tmp"};
    return std::any_of(std::begin(kOwn), std::end(kOwn), [&name](const char* own) { return name == own; });
}

// One entry of the host's root. A folder that the kernel refuses to overlay stays empty, unless the room's own tree has
// something to put there.
void layPart(const std::string& name) {
    const std::string place = "root/" + name;
    char target[PATH_MAX] = {};
    if (readlink(("/" + name).c_str(), target, sizeof target - 1) > 0) {
        must(symlink(target, place.c_str()), "cannot create /" + name);
        return;
    }
    const bool needed = access(("upper/" + name).c_str(), F_OK) == 0;
    for (const std::string& part : {place, "upper/" + name, "work/" + name}) {
        makeDirectories(part);
    }
    const std::string options = "userxattr,lowerdir=/" + name + ",upperdir=upper/" + name + ",workdir=work/" + name;
    if (mount("room", place.c_str(), "overlay", 0, options.c_str()) < 0 && needed) {
        fail("this kernel does not overlay /" + name);
    }
}

// In a user namespace the host's root, with what is mounted below it, cannot be overlaid as a whole.
void layRootByParts() {
    const Directory host(opendir("/"));
    const Directory own(opendir("upper"));
    if (host == nullptr || own == nullptr) {
        fail("cannot read the root directory");
    }
    bindOn("root", "root");  // only a mount can become the root
    for (const char* place : {"root/dev", "root/proc"}) {
        makeDirectories(place);
    }
    while (const dirent* entry = readdir(host.get())) {
        if (!isOwnPlace(entry->d_name) && (entry->d_type == DT_DIR || entry->d_type == DT_LNK)) {
            layPart(entry->d_name);
        }
    }
    while (const dirent* entry = readdir(own.get())) {
        const std::string name = entry->d_name;
        if (!isOwnPlace(name) && access(("root/" + name).c_str(), F_OK) < 0) {
            makeDirectories("root/" + name);
            bindOn("upper/" + name, "root/" + name);
        }
    }
}

// The host's root below, and over it a tmpfs that holds the room's own tree and takes whatever is written. (The tree is
// copied: an overlay refuses a layer that lies inside another one.)
void layRoot(const Room& room, const std::string& place) {
    makeDirectories(place);
    mountOn("room", place, "tmpfs", MS_NOSUID, "mode=755");
    must(chdir(place.c_str()), "cannot enter " + place);
    for (const char* part : {"files", "upper", "work", "root"}) {
        makeDirectories(part);
    }
    for (const std::string& layer : room.layers) {
        copyTree(layer, "upper");
    }
    for (const auto& [source, inside] : room.binds) {
        makeDirectories("upper" + inside);
    }
    // Relative names: the option text has no way to write a path that holds ':' or ','.
    if (mount("room", "root", "overlay", 0, "lowerdir=/,upperdir=upper,workdir=work") < 0) {
        layRootByParts();
    }
}

void bindDevices() {
    mountOn("dev", "root/dev", "tmpfs", MS_NOSUID, "mode=755");
    for (const char* node : {"null", "zero", "full", "random", "urandom", "tty", "net/tun", "ppp"}) {
        const std::string inside = std::string("root/dev/") + node;
        if (access((std::string("/dev/") + node).c_str(), F_OK) == 0) {
            makeDirectories(inside.substr(0, inside.rfind('/')));
            writeText(inside, "");
            bindOn(std::string("/dev/") + node, inside);
        }
    }
    makeDirectories("root/dev/pts");
    mountOn("devpts", "root/dev/pts", "devpts", MS_NOSUID | MS_NOEXEC, "newinstance,ptmxmode=0666,mode=620");
    must(symlink("pts/ptmx", "root/dev/ptmx"), "cannot create /dev/ptmx");
    constexpr const char* kStreams[][2] = {
        {"fd", "/.proc/self/fd"}, {"stdin", "fd/0"}, {"stdout", "fd/1"}, {"stderr", "fd/2"}};
    for (const auto& [name, target] : kStreams) {
        must(symlink(target, (std::string("root/dev/") + name).c_str()), std::string("cannot create /dev/") + name);
    }
    makeDirectories("root/dev/shm");
    mountOn("shm", "root/dev/shm", "tmpfs", MS_NOSUID | MS_NODEV, "mode=1777");
}

std::string smallFile(const std::string& path) {
    char content[4096];
    const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    const ssize_t size = file < 0 ? -1 : read(file, content, sizeof content);
    if (file >= 0) {
        close(file);
    }
    must(size, "cannot read " + path);
    return {content, static_cast<size_t>(size)};
}

// One of the platform's own files below /proc. Where the kernel has one of that name, the platform's lies over it, so
// that the gateway does not reach into the machine it runs on.
void layPlatformFile(const std::string& from, const std::string& place) {
    if (access(place.c_str(), F_OK) < 0) {
        writeText(place, smallFile(from));
        return;
    }
    std::string copy = place;
    std::replace(copy.begin(), copy.end(), '/', '_');
    copy.insert(0, "files/");
    writeText(copy, smallFile(from));
    bindOn(copy, place);
}

void layPlatformFiles(const std::string& from, const std::string& inside) {
    const Directory entries(opendir(from.c_str()));
    while (const dirent* entry = entries == nullptr ? nullptr : readdir(entries.get())) {
        const std::string name = std::string("/") + entry->d_name;
        const std::string place = inside + name;
        if (name == "/." || name == "/..") {
            continue;
        }
        if (entry->d_type != DT_DIR) {
            layPlatformFile(from + name, place);
            continue;
        }
        if (access(place.c_str(), F_OK) < 0) {
            makeDirectories(place);
        }
        layPlatformFiles(from + name, place);
    }
}

// The kernel's procfs takes no new folders. So /proc is a tmpfs that shows everything of a procfs mounted beside it but
// the processes (the first one excepted, which tells when all began), and the platform's own files of the layers.
// Programs that want processes there run through gw-procfs.
void layProc() {
    makeDirectories("root/.proc");
    mountOn("proc", "root/.proc", "proc", MS_NOSUID | MS_NOEXEC | MS_NODEV, nullptr);
    mountOn("proc", "root/proc", "tmpfs", MS_NOSUID | MS_NOEXEC | MS_NODEV, "mode=755");
    const Directory entries(opendir("root/.proc"));
    if (entries == nullptr) {
        fail("cannot read procfs");
    }
    while (const dirent* entry = readdir(entries.get())) {
        const std::string name = entry->d_name;
        if (name == "." || name == ".." || (isNumber(entry->d_name) && name != "1")) {
            continue;
        }
        if (entry->d_type == DT_DIR) {
            makeDirectories("root/proc/" + name);
            bindOn("root/.proc/" + name, "root/proc/" + name);
        } else {
            must(symlink(("/.proc/" + name).c_str(), ("root/proc/" + name).c_str()), "cannot create /proc/" + name);
        }
    }
    layPlatformFiles("upper/proc", "root/proc");
}

void layScratch() {
    for (const char* place : {"root/run", "root/tmp"}) {
        makeDirectories(place);
        mountOn("scratch", place, "tmpfs", MS_NOSUID | MS_NODEV,
                strcmp(place, "root/tmp") == 0 ? "mode=1777" : "mode=755");
    }
    makeDirectories("root/run/gateway");
    makeDirectories("root/sys");
    mountOn("sysfs", "root/sys", "sysfs", MS_NOSUID | MS_NOEXEC | MS_NODEV, nullptr);
}

}  // namespace

void enterRoom(const Room& room, const std::string& place) {
    layRoot(room, place);
    for (const auto& [source, inside] : room.binds) {
        bindOn(source, "root" + inside);
    }
    bindDevices();
    layProc();
    layScratch();
    must(chdir("root"), "cannot enter the new root");
    must(syscall(SYS_pivot_root, ".", "."), "cannot change the root");
    must(umount2(".", MNT_DETACH), "cannot leave the old root");
    must(chdir("/"), "cannot enter the new root");
}
