// Runs a tool that needs the processes in /proc (ps, killall, ...). Inside the gateway /proc holds the platform's own
// files and no processes; this program stands before the tool on the search path, shows it the true procfs and becomes
// it.
#include <sched.h>
#include <sys/mount.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "client/standard_streams.h"

namespace {

constexpr const char* kOwnFolder = "/usr/lib/gateway/bin";

bool showProcesses() {
    return unshare(CLONE_NEWNS) == 0 && mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
           mount("/.proc", "/proc", nullptr, MS_BIND, nullptr) == 0;
}

// The folders of PATH one by one, but for the one that holds the names of this program.
void becomeTool(const std::string& name, char** words) {
    const char* const path = getenv("PATH");
    std::string rest = path == nullptr ? "/usr/sbin:/usr/bin:/sbin:/bin" : path;
    while (!rest.empty()) {
        std::string tool = rest.substr(0, rest.find(':'));
        rest.erase(0, tool.size() + 1);
        if (tool != kOwnFolder) {
            tool.append("/").append(name);
            execv(tool.c_str(), words);
        }
    }
}

}  // namespace

int main(int, char** words) {
    vcfg::holdStandardStreams();
    const char* const slash = strrchr(words[0], '/');
    const std::string name = slash == nullptr ? words[0] : slash + 1;
    if (!showProcesses()) {
        perror("gw-procfs: cannot show the processes");
        return 1;
    }
    becomeTool(name, words);
    fprintf(stderr, "%s: not found\n", name.c_str());
    return 127;
}
