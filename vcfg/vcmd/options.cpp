#include "options.h"

#include <getopt.h>

#include <cstdio>
#include <cstdlib>
#include <iterator>

#ifndef TARN_VERSION
#define TARN_VERSION "unversioned"
#endif

namespace vcfg::vcmd {
namespace {

constexpr int kWrongUsage = 2;
constexpr long kLongestHook = 3600;
constexpr long kModelMiB = 8;
constexpr long kLargestModelMiB = 1024;

const option kOptions[] = {{"foreground", no_argument, nullptr, 'f'},
                           {"run-dir", required_argument, nullptr, 'r'},
                           {"data-dir", required_argument, nullptr, 'd'},
                           {"hook-dir", required_argument, nullptr, 'k'},
                           {"defaults", required_argument, nullptr, 'm'},
                           {"hook-timeout", required_argument, nullptr, 't'},
                           {"model-size", required_argument, nullptr, 's'},
                           {"take-over", no_argument, nullptr, 'o'},
                           {"help", no_argument, nullptr, 'h'},
                           {"version", no_argument, nullptr, 'v'},
                           {nullptr, 0, nullptr, 0}};

void printHelp() {
    puts(
        "Usage: vcmd [OPTION...]\n"
        "\n"
        "Keeps the device's data model, and serves it on the bus as endpoint 1.\n"
        "\n"
        "  --foreground            stay in the foreground, log to standard error\n"
        "  --run-dir DIR           the bus's directory (VCFG_RUN_DIR, /run/vcfg)\n"
        "  --data-dir DIR          where vcfg_config.json is kept (VCFG_DATA_DIR, /data)\n"
        "  --hook-dir DIR          apply/ and refresh/ hooks (VCFG_HOOK_DIR, /etc/vcfg/hooks)\n"
        "  --defaults FILE         the model to begin with when there is no vcfg_config.json yet\n"
        "  --hook-timeout SECONDS  a hook that runs longer is killed (30)\n"
        "  --take-over             serve endpoint 1 also when a process with other data serves it\n"
        "  --model-size MIB        the most that the model takes in the run directory (8)\n"
        "  --help                  this text\n"
        "  --version               the version\n"
        "\n"
        "Without --foreground it detaches: the command ends with 0 once the model is served,\n"
        "with 1 and a line on standard error when it cannot be.");
}

std::string fromEnvironment(const char* name, const char* otherwise) {
    const char* value = getenv(name);
    return value != nullptr && *value != '\0' ? value : otherwise;
}

bool takeNumber(const char* text, long least, long most, long* number) {
    char* end = nullptr;
    *number = strtol(text, &end, 10);
    return end != text && *end == '\0' && *number >= least && *number <= most;
}

bool takeHookTimeout(const char* text, Options& options) {
    long seconds = 0;
    const bool good = takeNumber(text, 1, kLongestHook, &seconds);
    options.hookLimitMs = static_cast<uint32_t>(seconds) * 1000;
    return good;
}

bool takeModelSize(const char* text, Options& options) {
    long mebibytes = 0;
    const bool good = takeNumber(text, 1, kLargestModelMiB, &mebibytes);
    options.modelSize = static_cast<size_t>(mebibytes) << 20;
    return good;
}

enum class Next { GoOn, Done, Wrong };

Next takeOption(int found, Options& options) {
    switch (found) {
        case 'f':
            options.foreground = true;
            return Next::GoOn;
        case 'r':
            options.runDir = optarg;
            return Next::GoOn;
        case 'd':
            options.dataDir = optarg;
            return Next::GoOn;
        case 'k':
            options.hookDir = optarg;
            return Next::GoOn;
        case 'm':
            options.defaults = optarg;
            return Next::GoOn;
        case 't':
            return takeHookTimeout(optarg, options) ? Next::GoOn : Next::Wrong;
        case 'o':
            options.takeOver = true;
            return Next::GoOn;
        case 's':
            return takeModelSize(optarg, options) ? Next::GoOn : Next::Wrong;
        case 'h':
            printHelp();
            return Next::Done;
        case 'v':
            puts("vcmd " TARN_VERSION);
            return Next::Done;
        default:
            return Next::Wrong;
    }
}

}  // namespace

bool parseOptions(int argc, char** argv, Options& options, int& status) {
    options.runDir = fromEnvironment("VCFG_RUN_DIR", "/run/vcfg");
    options.dataDir = fromEnvironment("VCFG_DATA_DIR", "/data");
    options.hookDir = fromEnvironment("VCFG_HOOK_DIR", "/etc/vcfg/hooks");
    options.modelSize = size_t{kModelMiB} << 20;
    Next next = Next::GoOn;
    int found;
    opterr = 0;
    while (next == Next::GoOn && (found = getopt_long(argc, argv, "", kOptions, nullptr)) != -1) {
        next = takeOption(found, options);
    }
    if (next == Next::GoOn && optind == argc) {
        return true;
    }
    status = next == Next::Done ? EXIT_SUCCESS : kWrongUsage;
    if (next != Next::Done) {
        fprintf(stderr, "vcmd: what is meant by '%s'? See 'vcmd --help'\n",
                argv[next == Next::Wrong ? optind - 1 : optind]);
    }
    return false;
}

}  // namespace vcfg::vcmd
