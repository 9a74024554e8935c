#include "verb.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>

#include "model/names.h"
#include "parts.h"

namespace vcfgctl {

const std::string* Call::option(const char* name) const {
    const std::string* found = nullptr;
    for (const auto& [given, value] : options) {
        if (given == name) {
            found = &value;
        }
    }
    return found;
}

int refuse(const std::string& why) {
    fprintf(stderr, "vcfgctl: %s\n", why.c_str());
    return kRefused;
}

bool outputTakes() {
    return fflush(stdout) == 0 && ferror(stdout) == 0;
}

int outputRefuses() {
    return refuse("standard output cannot be written");
}

int wrongUsage(const Call& call, const std::string& why) {
    fprintf(stderr, "vcfgctl: %s: %s; see 'vcfgctl %s --help'\n", call.verb.c_str(), why.c_str(), call.verb.c_str());
    return kWrongUsage;
}

int nobodyAnswers(const std::string& why) {
    fprintf(stderr, "vcfgctl: %s\n", why.c_str());
    return kNobodyAnswers;
}

std::string plainPath(const std::string& operand) {
    constexpr std::string_view kPlace = "{i}";
    const size_t end = pathLength(operand);
    std::string path(vcfg::model::withoutRoot(std::string_view(operand).substr(0, end)));
    for (size_t at = path.find(kPlace); at != path.npos; at = path.find(kPlace)) {
        path.replace(at, kPlace.size(), "*");
    }
    // "Device." itself is the whole model.
    return (path.empty() && end > 0 ? "." : path) + operand.substr(end);
}

bool parseNumber(const std::string& text, uint64_t most, uint64_t* number) {
    const bool hex = text.size() > 2 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X');
    const std::string digits = hex ? text.substr(2) : text;
    const char* accepted = hex ? "0123456789abcdefABCDEF" : "0123456789";
    if (digits.empty() || digits.find_first_not_of(accepted) != std::string::npos) {
        return false;
    }
    errno = 0;
    const unsigned long long value = strtoull(digits.c_str(), nullptr, hex ? 16 : 10);
    if (errno != 0 || value > most) {
        return false;
    }
    *number = value;
    return true;
}

bool numberOption(const Call& call, const char* name, uint64_t most, uint64_t* number) {
    const std::string* text = call.option(name);
    if (text == nullptr || parseNumber(*text, most, number)) {
        return true;
    }
    wrongUsage(call,
               "--" + std::string(name) + " takes a number up to " + std::to_string(most) + ", not \"" + *text + "\"");
    return false;
}

}  // namespace vcfgctl
