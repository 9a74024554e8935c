// vcfgctl: the command line onto bus and data model.
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "client/log_level.h"
#include "client/standard_streams.h"
#include "verb.h"

#ifndef TARN_VERSION
#define TARN_VERSION "unversioned"
#endif

using namespace vcfgctl;

namespace {

constexpr int kLogLevel = 3;  // errors

enum GlobalOption : int { kRunDir = 256, kJson, kHelp, kVersion, kVerbOption };

const option kGlobals[] = {{"run-dir", required_argument, nullptr, kRunDir},
                           {"json", no_argument, nullptr, kJson},
                           {"help", no_argument, nullptr, kHelp},
                           {"version", no_argument, nullptr, kVersion}};

struct Command {
    const Verb* verb = nullptr;
    bool help = false;
    bool version = false;
    Call call;
};

void printHelp() {
    puts(
        "Usage: vcfgctl [--run-dir DIR] [--json] VERB [ARGUMENT...]\n"
        "\n"
        "Reads and writes the device's data model, and sends and receives messages on its bus.\n");
    for (const Verb& verb : verbs()) {
        printf("  %-10s%s\n", verb.name, verb.summary);
    }
    puts(
        "\n"
        "Options, before or after the verb:\n"
        "  --run-dir DIR  the bus's directory (else VCFG_RUN_DIR, else /run/vcfg)\n"
        "  --json         JSON lines instead of text, on every verb that prints something\n"
        "  --help         this text, or with a verb the verb's\n"
        "  --version      the version\n"
        "\n"
        "Exit status: 0 done, 1 refused or failed, 2 wrong usage, 3 nobody answers.\n"
        "'vcfgctl VERB --help' explains a verb.");
}

void printHelp(const Verb& verb) {
    printf("Usage: vcfgctl %s%s%s\n\n%s", verb.name, *verb.synopsis != '\0' ? " " : "", verb.synopsis, verb.help);
}

int wrong(const std::string& why) {
    fprintf(stderr, "vcfgctl: %s; see 'vcfgctl --help'\n", why.c_str());
    return kWrongUsage;
}

const Verb* findVerb(const char* name) {
    for (const Verb& verb : verbs()) {
        if (strcmp(verb.name, name) == 0) {
            return &verb;
        }
    }
    return nullptr;
}

// The verb is the first argument that is no option; its own options are unknown until it is known, but all of them
// stand behind it.
int findVerbIndex(int argc, char** argv) {
    for (int i = 1; i < argc; ++i) {
        if (strcmp(argv[i], "--run-dir") == 0) {
            ++i;
        } else if (argv[i][0] != '-') {
            return i;
        }
    }
    return 0;
}

std::vector<option> optionTable(const Verb* verb) {
    std::vector<option> all(std::begin(kGlobals), std::end(kGlobals));
    if (verb != nullptr) {
        for (option one : verb->options) {
            one.val = kVerbOption;
            all.push_back(one);
        }
    }
    all.push_back({});
    return all;
}

// False with the wrong usage reported.
bool takeOption(int found, const std::vector<option>& table, int index, const char* given, Command& command) {
    switch (found) {
        case kRunDir:
            command.call.runDir = optarg;
            return true;
        case kJson:
            command.call.json = true;
            return true;
        case kHelp:
            command.help = true;
            return true;
        case kVersion:
            command.version = true;
            return true;
        case kVerbOption:
            command.call.options.emplace_back(table[static_cast<size_t>(index)].name, optarg != nullptr ? optarg : "");
            return true;
        default:
            wrong(std::string(found == ':' ? "a value is missing behind '" : "unknown option '") + given + "'");
            return false;
    }
}

bool parse(int argc, char** argv, Command& command) {
    const int verbIndex = findVerbIndex(argc, argv);
    if (verbIndex > 0) {
        command.call.verb = argv[verbIndex];
        command.verb = findVerb(argv[verbIndex]);
        if (command.verb == nullptr) {
            wrong("there is no verb '" + command.call.verb + "'");
            return false;
        }
    }
    const std::vector<option> table = optionTable(command.verb);
    opterr = 0;
    int found;
    int index = 0;
    while ((found = getopt_long(argc, argv, ":", table.data(), &index)) != -1) {
        if (!takeOption(found, table, index, argv[optind - 1], command)) {
            return false;
        }
    }
    command.call.operands.assign(argv + optind, argv + argc);
    if (command.verb != nullptr && !command.call.operands.empty()) {
        command.call.operands.erase(command.call.operands.begin());
    }
    if (command.verb != nullptr && command.verb->takesPaths) {
        for (std::string& operand : command.call.operands) {
            operand = plainPath(operand);
        }
    }
    return true;
}

}  // namespace

int main(int argc, char** argv) {
    vcfg::holdStandardStreams();
    Command command;
    if (!parse(argc, argv, command)) {
        return kWrongUsage;
    }
    if (command.version) {
        puts("vcfgctl " TARN_VERSION);
        return kDone;
    }
    if (command.help) {
        command.verb != nullptr ? printHelp(*command.verb) : printHelp();
        return kDone;
    }
    if (command.verb == nullptr) {
        return wrong("a verb is missing");
    }
    if (!command.call.runDir.empty()) {
        setenv("VCFG_RUN_DIR", command.call.runDir.c_str(), 1);
    } else {
        command.call.runDir = getenv("VCFG_RUN_DIR") != nullptr ? getenv("VCFG_RUN_DIR") : "/run/vcfg";
    }
    // What fails the verbs say themselves, in one line.
    vcfg::setLogLevel(kLogLevel);
    const int status = command.verb->run(command.call);
    if (!outputTakes() && status == kDone) {
        return outputRefuses();
    }
    return status;
}
