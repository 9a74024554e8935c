// A hunting daemon of the platform as its bus sees it: takes what it is sent, is not there, is refused, or takes
// nothing. How it behaves is told by --mode and, while it runs, by the file hunt/EID.mode; hunt/EID.state says which
// mode holds, and every message received is a JSON line in hunt/EID.received.
#include <fcntl.h>
#include <getopt.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>
#include <vcfg/msg.h>
#include <vcfg/msg_types.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>

#include "client/standard_streams.h"

namespace {

constexpr useconds_t lookUs = 20'000;
constexpr uint32_t finishTimeoutMs = 5000;

struct Daemon {
    uint8_t eid = 0;
    std::string mode = "accept";
    long finishAfterMs = -1;  // negative: a hunt never ends by itself
    std::string files;        // what its files' names begin with
};

struct Free {
    void operator()(vcfg_msg_t* message) const { std::free(message); }
};

[[noreturn]] void usage() {
    std::fputs("usage: gw-huntd EID [--mode accept|absent|refuse|mute] [--finish-after MS]\n", stderr);
    std::exit(2);
}

[[noreturn]] void fail(const std::string& what) {
    std::fprintf(stderr, "gw-huntd: %s: %s\n", what.c_str(), std::strerror(errno));
    std::_Exit(1);
}

std::string fromEnvironment(const char* name, const char* otherwise) {
    const char* value = std::getenv(name);
    return value != nullptr && *value != '\0' ? value : otherwise;
}

bool isMode(const std::string& word) {
    return word == "accept" || word == "absent" || word == "refuse" || word == "mute";
}

// --- the child: one behaviour until it is ended ---

std::string socketPath(const Daemon& daemon) {
    return fromEnvironment("VCFG_RUN_DIR", "/run/vcfg") + "/eid-" + std::to_string(daemon.eid);
}

sockaddr_un addressOf(const std::string& path) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path.size() >= sizeof address.sun_path) {
        errno = ENAMETOOLONG;
        fail(path);
    }
    path.copy(address.sun_path, path.size());
    return address;
}

int boundSocket(const Daemon& daemon) {
    const std::string path = socketPath(daemon);
    const sockaddr_un address = addressOf(path);
    unlink(path.c_str());
    const int fd = socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0);
    if (fd < 0 || bind(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
        fail(path);
    }
    return fd;
}

// A queue that holds one connection, and holds it already: whoever comes next waits.
void fillQueue(int server, const Daemon& daemon) {
    const sockaddr_un address = addressOf(socketPath(daemon));
    const int first = socket(AF_UNIX, SOCK_SEQPACKET | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
    if (listen(server, 0) != 0 || first < 0 ||
        connect(first, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
        fail("the queue cannot be filled");
    }
}

void appendQuoted(std::string& line, const char* text) {
    for (; *text != '\0'; ++text) {
        const auto byte = static_cast<unsigned char>(*text);
        char escaped[8];
        std::snprintf(escaped, sizeof escaped, "\\u%04x", byte);
        if (byte < 0x20 || byte >= 0x7F || *text == '"' || *text == '\\') {
            line += escaped;
        } else {
            line += *text;
        }
    }
}

void record(const Daemon& daemon, const vcfg_msg_t& message) {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    std::string line = "{\"t_mono_us\":" + std::to_string(int64_t{now.tv_sec} * 1000000 + now.tv_nsec / 1000) +
                       ",\"type\":" + std::to_string(message.type) + ",\"srcEid\":" + std::to_string(message.srcEid) +
                       ",\"requestId\":" + std::to_string(message.requestId) + ",\"payload\":\"";
    appendQuoted(line, vcfg_msg_text(&message));
    line += "\"}\n";
    const int fd = open((daemon.files + "received").c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0644);
    if (fd < 0 || write(fd, line.data(), line.size()) != static_cast<ssize_t>(line.size())) {
        fail(daemon.files + "received");
    }
    close(fd);
}

void reportFinish(const Daemon& daemon) {
    auto* message = static_cast<vcfg_msg_t*>(std::calloc(1, VCFG_MSG_HEADER_SIZE + 1));
    if (message == nullptr) {
        fail("no memory");
    }
    message->type = VCFG_MSG_AUTO_HUNT_FINISHED;
    message->srcEid = daemon.eid;
    message->dstEid = VCFG_EID_TARN;
    const int result = vcfg_msg_sendAndGetReply(message, nullptr, finishTimeoutMs);
    if (result != VCFG_DELIVERED) {
        std::fprintf(stderr, "gw-huntd: the end of the hunt could not be reported: %d\n", result);
    }
}

// Receives until the time for the end of the hunt has come, if a hunt is on.
[[noreturn]] void accept(const Daemon& daemon) {
    const uint32_t huntMs = daemon.finishAfterMs > 0 ? static_cast<uint32_t>(daemon.finishAfterMs) : 1;
    bool hunting = false;
    for (;;) {
        vcfg_msg_t* taken = nullptr;
        const int result = vcfg_msg_serverRecv(&taken, hunting ? huntMs : 0);
        const std::unique_ptr<vcfg_msg_t, Free> message(taken);
        if (result == VCFG_OK && message) {
            record(daemon, *message);
            const bool start = message->type == VCFG_MSG_VC_HUNT_START || message->type == VCFG_MSG_VLAN_HUNT_START;
            hunting = start && daemon.finishAfterMs >= 0;
        } else if (result == VCFG_ERR_TIMEOUT) {
            hunting = false;
            reportFinish(daemon);
        } else {
            fail("the endpoint receives nothing any more");
        }
    }
}

void writeState(const Daemon& daemon) {
    const std::string file = daemon.files + "state";
    FILE* stream = std::fopen((file + ".new").c_str(), "we");
    if (stream == nullptr || std::fprintf(stream, "%s\n", daemon.mode.c_str()) < 0 || std::fclose(stream) != 0 ||
        std::rename((file + ".new").c_str(), file.c_str()) != 0) {
        fail(file);
    }
}

[[noreturn]] void behave(const Daemon& daemon, const char* name) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (daemon.mode == "accept") {
        if (vcfg_msg_eidInit(daemon.eid, name) != VCFG_OK || vcfg_msg_serverInit() != VCFG_OK) {
            fail("the endpoint cannot be served");
        }
    } else if (daemon.mode == "absent") {
        unlink(socketPath(daemon).c_str());
    } else {
        const int server = boundSocket(daemon);
        if (daemon.mode == "mute") {
            fillQueue(server, daemon);
        }
    }
    writeState(daemon);
    if (daemon.mode == "accept") {
        accept(daemon);
    }
    for (;;) {
        pause();
    }
}

// --- the parent: starts the child anew when the mode changes ---

pid_t start(const Daemon& daemon, const char* name) {
    const pid_t child = fork();
    if (child < 0) {
        fail("cannot fork");
    }
    if (child == 0) {
        behave(daemon, name);
    }
    return child;
}

std::string toldMode(const Daemon& daemon) {
    FILE* stream = std::fopen((daemon.files + "mode").c_str(), "re");
    if (stream == nullptr) {
        return {};
    }
    char word[32] = "";
    const bool read = std::fscanf(stream, "%31s", word) == 1;
    std::fclose(stream);
    return read && isMode(word) ? word : "";
}

[[noreturn]] void supervise(Daemon& daemon, const char* name) {
    pid_t child = start(daemon, name);
    for (;;) {
        usleep(lookUs);
        if (waitpid(child, nullptr, WNOHANG) != 0) {
            std::exit(1);
        }
        const std::string told = toldMode(daemon);
        if (told.empty() || told == daemon.mode) {
            continue;
        }
        kill(child, SIGKILL);
        waitpid(child, nullptr, 0);
        daemon.mode = told;
        child = start(daemon, name);
    }
}

Daemon parse(int argc, char** argv) {
    static const option known[] = {
        {"mode", required_argument, nullptr, 'm'}, {"finish-after", required_argument, nullptr, 'f'}, {}};
    Daemon daemon;
    for (int letter; (letter = getopt_long(argc, argv, "", known, nullptr)) != -1;) {
        switch (letter) {
            case 'm':
                daemon.mode = optarg;
                break;
            case 'f':
                daemon.finishAfterMs = std::atol(optarg);
                break;
            default:
                usage();
        }
    }
    const int eid = optind + 1 == argc ? std::atoi(argv[optind]) : 0;
    if (eid < 1 || eid > 255 || !isMode(daemon.mode)) {
        usage();
    }
    daemon.eid = static_cast<uint8_t>(eid);
    const std::string hardware = fromEnvironment("GW_HW_DIR", "/run/hw");
    mkdir(hardware.c_str(), 0755);
    mkdir((hardware + "/hunt").c_str(), 0755);
    daemon.files = hardware + "/hunt/" + std::to_string(eid) + ".";
    return daemon;
}

// The platform ends a stray hunt by this name.
const char* processName(uint8_t eid) {
    if (eid == VCFG_EID_VCAUTOHUNT) {
        return "vcautohunt";
    }
    return eid == VCFG_EID_VLANAUTOHUNT ? "vlanautohunt" : "gw-huntd";
}

}  // namespace

int main(int argc, char** argv) {
    vcfg::holdStandardStreams();
    Daemon daemon = parse(argc, argv);
    const char* name = processName(daemon.eid);
    prctl(PR_SET_NAME, name);
    unlink((daemon.files + "mode").c_str());
    unlink((daemon.files + "state").c_str());
    supervise(daemon, name);
}
