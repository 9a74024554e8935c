// Sends one kernel event datagram to the registered process, as the platform's kernel would.
#include <getopt.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <string>

#include "client/standard_streams.h"
#include "effect.h"
#include "kernel_event.h"

namespace {

constexpr unsigned sendTimeoutMs = 5000;
constexpr size_t datagramMax = 1 << 20;

struct Options {
    std::optional<std::string> text;
    std::optional<unsigned long> type;
    const char* rawFile = nullptr;
    std::string registration = kernel_event::registrationFile;
};

[[noreturn]] void usage() {
    std::fputs("usage: gw-kernel-event TEXT [--type N] | --type N | --raw FILE  [--pid-file FILE]\n", stderr);
    std::exit(2);
}

[[noreturn]] void fail(const std::string& reason) {
    std::fprintf(stderr, "gw-kernel-event: %s\n", reason.c_str());
    std::exit(1);
}

unsigned long typeNumber(const char* text) {
    char* end = nullptr;
    errno = 0;
    const unsigned long number = std::strtoul(text, &end, 0);
    if (errno != 0 || end == text || *end != '\0' || *text == '-' || number > 0xFFFF) {
        fail(std::string("\"") + text + "\" is no event type; 0 to 0xffff are");
    }
    return number;
}

Options parse(int argc, char** argv) {
    static const option known[] = {{"type", required_argument, nullptr, 't'},
                                   {"raw", required_argument, nullptr, 'r'},
                                   {"pid-file", required_argument, nullptr, 'p'},
                                   {}};
    Options options;
    for (int letter; (letter = getopt_long(argc, argv, "", known, nullptr)) != -1;) {
        switch (letter) {
            case 't':
                options.type = typeNumber(optarg);
                break;
            case 'r':
                options.rawFile = optarg;
                break;
            case 'p':
                options.registration = optarg;
                break;
            default:
                usage();
        }
    }
    if (optind < argc) {
        options.text = argv[optind++];
    }
    const bool raw = options.rawFile != nullptr;
    const bool described = options.text.has_value() || options.type.has_value();
    if (optind != argc || raw == described) {
        usage();
    }
    return options;
}

std::string fileBytes(const char* path) {
    FILE* stream = std::strcmp(path, "-") == 0 ? stdin : std::fopen(path, "re");
    if (stream == nullptr) {
        fail(std::string("cannot read ") + path + ": " + std::strerror(errno));
    }
    std::string bytes;
    char part[4096];
    for (size_t got; (got = std::fread(part, 1, sizeof part, stream)) > 0;) {
        bytes.append(part, got);
        if (bytes.size() > datagramMax) {
            fail(std::string(path) + " is larger than any datagram");
        }
    }
    if (std::ferror(stream) != 0) {
        fail(std::string("cannot read ") + path);
    }
    return bytes;
}

}  // namespace

int main(int argc, char** argv) {
    vcfg::holdStandardStreams();
    const Options options = parse(argc, argv);
    const auto type = static_cast<uint16_t>(options.type.value_or(kernel_event::linkWithText));
    const std::string datagram =
        options.rawFile != nullptr ? fileBytes(options.rawFile) : kernel_event::message(type, options.text);
    const auto process = kernel_event::registeredProcess(options.registration);
    if (!process) {
        fail("no process is registered in " + options.registration);
    }
    std::string error;
    if (kernel_event::send(*process, datagram, sendTimeoutMs, error) != kernel_event::Delivery::done) {
        fail(error);
    }
    noteEffect("kernel event " + (options.text ? *options.text : std::to_string(datagram.size()) + " bytes") +
               " sent to process " + std::to_string(*process));
    return 0;
}
