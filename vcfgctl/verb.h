// The verbs of vcfgctl, and what each is called with.
#pragma once

#include <getopt.h>

#include <cstdint>
#include <span>
#include <string>
#include <utility>
#include <vector>

namespace vcfgctl {

enum Exit : int { kDone = 0, kRefused = 1, kWrongUsage = 2, kNobodyAnswers = 3 };

struct Call {
    std::string verb;
    bool json = false;
    std::string runDir;
    std::vector<std::string> operands;
    std::vector<std::pair<std::string, std::string>> options;  // the verb's own, as given

    // The option's last value; null when it was not given.
    const std::string* option(const char* name) const;
};

struct Verb {
    const char* name;
    const char* synopsis;
    const char* summary;
    const char* help;
    std::span<const option> options;
    int (*run)(const Call& call);
    bool takesPaths = false;  // its operands begin with a path
};

std::span<const Verb> verbs();

int runGet(const Call& call);
int runSet(const Call& call);
int runAdd(const Call& call);
int runDel(const Call& call);
int runDump(const Call& call);
int runLoad(const Call& call);
int runSave(const Call& call);
int runList(const Call& call);
int runDescribe(const Call& call);
int runWatch(const Call& call);
int runWait(const Call& call);
int runSend(const Call& call);
int runServe(const Call& call);
int runEndpoints(const Call& call);
int runMonitor(const Call& call);
int runRecord(const Call& call);
int runWhy(const Call& call);
int runTrace(const Call& call);
int runComplete(const Call& call);

// One line on standard error that says why; the result is the exit status.
int refuse(const std::string& why);
int wrongUsage(const Call& call, const std::string& why);
int nobodyAnswers(const std::string& why);
// Whether all that was printed has been taken; and the end of a verb when it has not.
bool outputTakes();
int outputRefuses();

// The operand with its path as the model has it: without "Device.", and "*" for "{i}".
std::string plainPath(const std::string& operand);

// A number of the command line, decimal or 0x; false when it is none or larger than `most`.
bool parseNumber(const std::string& text, uint64_t most, uint64_t* number);
// The option as a number: `number` keeps its value when the option was not given. Not a number is a wrong usage, which
// is reported here.
bool numberOption(const Call& call, const char* name, uint64_t most, uint64_t* number);

}  // namespace vcfgctl
