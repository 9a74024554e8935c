// The line simulator: "serve" owns the lines until it is ended; everything else is a request to it.
#include <fcntl.h>
#include <getopt.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "client/standard_streams.h"
#include "effect.h"
#include "kernel_event.h"
#include "line_simulator.h"
#include "tap.h"

namespace {

constexpr size_t requestMax = 4096;
constexpr int clientPatienceS = 1;
constexpr int noServer = 3;

int64_t now() {
    using namespace std::chrono;
    return duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count();
}

std::string hardwareFolder() {
    const char* folder = std::getenv("GW_HW_DIR");
    return folder != nullptr && *folder != '\0' ? folder : "/run/hw";
}

sockaddr_un controlAddress() {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    const std::string path = hardwareFolder() + "/linesim.sock";
    if (path.size() >= sizeof address.sun_path) {
        std::fprintf(stderr, "gw-linesim: %s is too long for a socket\n", path.c_str());
        std::exit(1);
    }
    path.copy(address.sun_path, path.size());
    return address;
}

[[noreturn]] void fail(const char* what) {
    std::fprintf(stderr, "gw-linesim: %s: %s\n", what, std::strerror(errno));
    std::exit(1);
}

// --- the one who asks ---

int request(int argc, char** argv) {
    std::string words;
    for (int at = 1; at < argc; ++at) {
        words.append(argv[at]).push_back('\n');
    }
    const int fd = socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0);
    const sockaddr_un address = controlAddress();
    if (fd < 0 || connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
        std::fputs("gw-linesim: no line simulator answers\n", stderr);
        return noServer;
    }
    char answer[requestMax];
    const ssize_t got = words.size() <= requestMax && send(fd, words.data(), words.size(), MSG_NOSIGNAL) > 0
                            ? recv(fd, answer, sizeof answer, 0)
                            : -1;
    if (got < 1) {
        std::fputs("gw-linesim: the line simulator gave no answer\n", stderr);
        return noServer;
    }
    const int status = answer[0] - '0';
    std::string text(answer + 1, static_cast<size_t>(got - 1));
    std::fputs(text.c_str(), status == 0 ? stdout : stderr);
    if (!text.empty() && text.back() == '\n') {
        text.pop_back();
    }
    if (status != 2 && std::strcmp(argv[1], "state") != 0) {
        noteEffect(text);
    }
    return status;
}

// --- the one who owns the lines ---

std::vector<std::string> wordsOf(const char* text, size_t size) {
    std::vector<std::string> words;
    std::string word;
    for (size_t at = 0; at < size; ++at) {
        if (text[at] != '\n') {
            word += text[at];
        } else {
            words.push_back(word);
            word.clear();
        }
    }
    return words;
}

void answerOne(LineSimulator& lines, int server) {
    const int client = accept4(server, nullptr, nullptr, SOCK_CLOEXEC);
    if (client < 0) {
        return;
    }
    const timeval patience{.tv_sec = clientPatienceS, .tv_usec = 0};
    setsockopt(client, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
    setsockopt(client, SOL_SOCKET, SO_SNDTIMEO, &patience, sizeof patience);
    char text[requestMax];
    const ssize_t got = recv(client, text, sizeof text, 0);
    if (got > 0) {
        const Answer answer = obey(lines, wordsOf(text, static_cast<size_t>(got)), now());
        const std::string reply = std::to_string(answer.status) + answer.text;
        send(client, reply.data(), reply.size(), MSG_NOSIGNAL);
    }
    close(client);
}

int listen() {
    mkdir(hardwareFolder().c_str(), 0755);
    const sockaddr_un address = controlAddress();
    unlink(address.sun_path);
    const int fd = socket(AF_UNIX, SOCK_SEQPACKET | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
    if (fd < 0 || bind(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 || ::listen(fd, 16) != 0) {
        fail("cannot listen for requests");
    }
    return fd;
}

// Both ends of every wire, in the order of the wires; descriptors of -1 are left alone by poll().
void watchWires(const LineSimulator& lines, std::vector<pollfd>& watched) {
    for (const Wire& wire : lines.wires) {
        watched.push_back({.fd = wire.near, .events = POLLIN, .revents = 0});
        watched.push_back({.fd = wire.far, .events = POLLIN, .revents = 0});
    }
}

void carryFrames(const LineSimulator& lines, const std::vector<pollfd>& watched) {
    for (size_t at = 0; at < lines.wires.size(); ++at) {
        const Wire& wire = lines.wires[at];
        const int ends[2] = {wire.near, wire.far};
        for (size_t end = 0; end < 2; ++end) {
            if ((watched[1 + 2 * at + end].revents & POLLIN) == 0) {
                continue;
            }
            if (wire.carrier) {
                tap::pass(ends[end], ends[1 - end]);
            } else {
                tap::drop(ends[end]);
            }
        }
    }
}

[[noreturn]] void serveForever(LineSimulator& lines, int server) {
    for (;;) {
        std::vector<pollfd> watched{{.fd = server, .events = POLLIN, .revents = 0}};
        watchWires(lines, watched);
        const int64_t next = nextTraining(lines);
        const int64_t wait = next < 0 ? -1 : std::max<int64_t>(0, next - now());
        poll(watched.data(), watched.size(), static_cast<int>(wait));
        train(lines, now());
        if ((watched[0].revents & POLLIN) != 0) {
            answerOne(lines, server);
        }
        carryFrames(lines, watched);
    }
}

[[noreturn]] void usage() {
    std::fputs(
        "usage: gw-linesim serve [--dsl-lines N] [--dsl up] [--mode atm|ptm] [--no-devices] [--pid-file FILE]\n"
        "       gw-linesim dsl up|down|open|close [--line N] [--mode atm|ptm]\n"
        "       gw-linesim optical up|down\n"
        "       gw-linesim usb up|down|absent\n"
        "       gw-linesim state\n",
        stderr);
    std::exit(2);
}

struct Start {
    int dslLines = 1;
    bool signal = false;
    bool atm = false;
};

void parse(int argc, char** argv, LineSimulator& lines, Start& start) {
    static const option known[] = {
        {"dsl-lines", required_argument, nullptr, 'n'}, {"dsl", required_argument, nullptr, 'd'},
        {"mode", required_argument, nullptr, 'm'},      {"no-devices", no_argument, nullptr, 'x'},
        {"pid-file", required_argument, nullptr, 'p'},  {}};
    for (int letter; (letter = getopt_long(argc, argv, "", known, nullptr)) != -1;) {
        switch (letter) {
            case 'n':
                start.dslLines = std::atoi(optarg);
                break;
            case 'd':
                start.signal = std::strcmp(optarg, "up") == 0;
                break;
            case 'm':
                start.atm = std::strcmp(optarg, "atm") == 0;
                break;
            case 'x':
                lines.devices = false;
                break;
            case 'p':
                lines.registration = optarg;
                break;
            default:
                usage();
        }
    }
    if (optind != argc || start.dslLines < 0 || start.dslLines > 9) {
        usage();
    }
}

int serve(int argc, char** argv) {
    LineSimulator lines;
    lines.registration = kernel_event::registrationFile;
    Start start;
    parse(argc, argv, lines, start);
    if (const char* delay = std::getenv("GW_DSL_TRAIN_MS"); delay != nullptr && std::atoi(delay) >= 0) {
        lines.trainMs = std::atoi(delay);
    }
    for (int number = 1; number <= start.dslLines; ++number) {
        lines.dsl.push_back({.number = number, .signal = start.signal && number == 1, .atm = start.atm});
    }
    const int server = listen();
    if (!makeWires(lines)) {
        return 1;
    }
    reportAll(lines, now());
    std::puts("ready");
    std::fflush(stdout);
    serveForever(lines, server);
}

}  // namespace

int main(int argc, char** argv) {
    vcfg::holdStandardStreams();
    if (argc < 2) {
        usage();
    }
    if (std::strcmp(argv[1], "serve") == 0) {
        return serve(argc - 1, argv + 1);
    }
    return request(argc, argv);
}
