// The platform kernel's link monitor: watches the namespace's links and sends the registered process an event for every
// port that found or lost its link. With a folder, the file of the port's name there is touched when it finds its link.
// Default routes that come and go are told to the flight recorder alone.
#include <fcntl.h>
#include <fnmatch.h>
#include <getopt.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <map>
#include <string>
#include <vector>

#include "client/standard_streams.h"
#include "default_routes.h"
#include "kernel_event.h"
#include "link_watch.h"
#include "platform/linux/port_speed.h"

namespace {

constexpr unsigned sendTimeoutMs = 1000;
constexpr int retryMs = 200;

struct Port {
    bool up = false;        // as the kernel last said
    bool reported = false;  // as the registered process knows it
};

struct Watch {
    std::vector<std::string> patterns;
    std::string registration = kernel_event::registrationFile;
    std::string linkFolder;  // empty for none
    std::map<std::string, Port> ports;
    uint32_t sequence = 0;
};

bool watched(const Watch& watch, const std::string& name) {
    return std::any_of(watch.patterns.begin(), watch.patterns.end(),
                       [&](const std::string& pattern) { return fnmatch(pattern.c_str(), name.c_str(), 0) == 0; });
}

bool isDslDevice(const std::string& name) {
    return name.rfind("atm", 0) == 0 || name.rfind("ptm", 0) == 0;
}

std::string eventText(const std::string& name, bool up) {
    std::string text = name + (up ? ":up" : ":down");
    if (isDslDevice(name)) {
        return text;
    }
    return text + ":" + (up ? speedAndDuplex(name) : "0:H");
}

// When a port last found its link, for commands that have to choose between ports.
void touch(const Watch& watch, const std::string& name) {
    if (watch.linkFolder.empty()) {
        return;
    }
    const std::string file = watch.linkFolder + "/" + name;
    const int fd = open(file.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0644);
    if (fd < 0) {
        return;
    }
    futimens(fd, nullptr);
    close(fd);
}

// A full queue keeps the event waiting; with nobody to hear it, it is gone, as on the real platform.
void report(Watch& watch, const std::string& name, Port& port) {
    if (port.up == port.reported) {
        return;
    }
    const auto process = kernel_event::registeredProcess(watch.registration);
    if (!process) {
        port.reported = port.up;
        return;
    }
    const std::string text = eventText(name, port.up);
    std::string error;
    const auto delivery = kernel_event::send(
        *process, kernel_event::message(kernel_event::linkWithText, text, ++watch.sequence), sendTimeoutMs, error);
    if (delivery != kernel_event::Delivery::full) {
        port.reported = port.up;
    }
    if (delivery != kernel_event::Delivery::done) {
        std::fprintf(stderr, "port-linkd: %s: %s\n", text.c_str(), error.c_str());
    }
}

void reportAll(Watch& watch) {
    for (auto& [name, port] : watch.ports) {
        report(watch, name, port);
    }
}

bool anyWaiting(const Watch& watch) {
    return std::any_of(watch.ports.begin(), watch.ports.end(),
                       [](const auto& entry) { return entry.second.up != entry.second.reported; });
}

void take(Watch& watch, const link_watch::Change& change) {
    if (!watched(watch, change.name)) {
        return;
    }
    Port& port = watch.ports[change.name];
    if (change.up && !port.up) {
        touch(watch, change.name);
    }
    port.up = change.up;
    report(watch, change.name, port);
}

[[noreturn]] void fail(const char* what) {
    std::fprintf(stderr, "port-linkd: %s: %s\n", what, std::strerror(errno));
    std::exit(1);
}

std::vector<link_watch::Change> presentLinks() {
    std::vector<link_watch::Change> links;
    if (!link_watch::list(links)) {
        fail("cannot list the links");
    }
    return links;
}

// What is so from the beginning is no change.
void learnPresentState(Watch& watch) {
    for (const auto& link : presentLinks()) {
        if (watched(watch, link.name)) {
            watch.ports[link.name] = {.up = link.up, .reported = link.up};
        }
    }
}

// Changes were lost: only the links themselves tell the truth now. One that is not there any more is down.
void readTruth(Watch& watch) {
    std::vector<link_watch::Change> truth;
    for (const auto& [name, port] : watch.ports) {
        truth.push_back({.name = name, .up = false});
    }
    for (auto& link : presentLinks()) {
        std::erase_if(truth, [&](const auto& known) { return known.name == link.name; });
        truth.push_back(std::move(link));
    }
    for (const auto& link : truth) {
        take(watch, link);
    }
}

[[noreturn]] void watchForever(Watch& watch, int fd) {
    DefaultRoutes routes;
    for (;;) {
        pollfd readable[] = {{.fd = fd, .events = POLLIN, .revents = 0},
                             {.fd = routes.fd(), .events = POLLIN, .revents = 0}};
        poll(readable, std::size(readable), anyWaiting(watch) ? retryMs : -1);
        if (readable[1].revents != 0) {
            routes.look();
        }
        std::vector<link_watch::Change> changes;
        switch (link_watch::read(fd, changes)) {
            case link_watch::Reading::changes:
                for (const auto& change : changes) {
                    take(watch, change);
                }
                break;
            case link_watch::Reading::overrun:
                readTruth(watch);
                break;
            case link_watch::Reading::nothing:
                reportAll(watch);
                break;
            case link_watch::Reading::failed:
                fail("cannot read link changes");
        }
    }
}

[[noreturn]] void usage() {
    std::fputs("usage: port-linkd [--pid-file FILE] [--link-folder DIR] PORT-PATTERN...\n", stderr);
    std::exit(2);
}

Watch parse(int argc, char** argv) {
    static const option known[] = {
        {"pid-file", required_argument, nullptr, 'p'}, {"link-folder", required_argument, nullptr, 'l'}, {}};
    Watch watch;
    for (int letter; (letter = getopt_long(argc, argv, "", known, nullptr)) != -1;) {
        switch (letter) {
            case 'p':
                watch.registration = optarg;
                break;
            case 'l':
                watch.linkFolder = optarg;
                break;
            default:
                usage();
        }
    }
    watch.patterns.assign(argv + optind, argv + argc);
    if (watch.patterns.empty()) {
        usage();
    }
    return watch;
}

}  // namespace

int main(int argc, char** argv) {
    vcfg::holdStandardStreams();
    Watch watch = parse(argc, argv);
    const int fd = link_watch::open();
    if (fd < 0) {
        fail("cannot watch links");
    }
    learnPresentState(watch);
    std::puts("ready");
    std::fflush(stdout);
    watchForever(watch, fd);
}
